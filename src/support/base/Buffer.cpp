#include <QzBase/WideString.h>

#include <algorithm>

namespace QzBase
{
    namespace
    {
        constexpr std::size_t kBlockSize = 4096;

        std::size_t RoundUp(std::size_t value, std::size_t alignment)
        {
            return (value + alignment - 1) & ~(alignment - 1);
        }
    }

    /// The head of each block; the memory that Allocate returns follows it.
    struct alignas(std::max_align_t) Buffer::Block
    {
        Block* mpNext;
        std::size_t mCapacity;

        unsigned char* GetData() { return static_cast<unsigned char*>(static_cast<void*>(this + 1)); }
    };

    Buffer::~Buffer()
    {
        while (mpFirst)
        {
            Block* const block = mpFirst;
            mpFirst = block->mpNext;
            ::operator delete(block);
        }
    }

    void* Buffer::Allocate(std::size_t size, std::size_t alignment)
    {
        std::size_t start = RoundUp(mUsed, alignment);
        if (!mpFirst || start > mpFirst->mCapacity || size > mpFirst->mCapacity - start)
        {
            std::size_t const capacity = std::max(size, kBlockSize);
            if (capacity > static_cast<std::size_t>(-1) - sizeof(Block))
                throw std::bad_alloc();
            mpFirst = new (::operator new(sizeof(Block) + capacity)) Block{mpFirst, capacity};
            start = 0;
        }
        mUsed = start + size;
        return mpFirst->GetData() + start;
    }
}
