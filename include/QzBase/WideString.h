#pragma once

#include <QzBase/Export.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>

namespace QzBase
{
    /// An arena: its memory is freed all at once, when the arena is destroyed. Not synchronised.
    class QZLOG_API Buffer
    {
    public:
        Buffer() noexcept = default;
        ~Buffer();
        Buffer(Buffer const&) = delete;
        Buffer& operator=(Buffer const&) = delete;

        /// Returns `size` bytes aligned to `alignment` (a power of two, at most that of std::max_align_t),
        /// valid until the arena is destroyed. Throws std::bad_alloc.
        void* Allocate(std::size_t size, std::size_t alignment);

    private:
        struct Block;
        Block* mpFirst = nullptr;
        std::size_t mUsed = 0;
    };

    /// Allocator of the library's wide strings. Without an arena, memory comes from the heap and is freed
    /// block by block. With an arena, it comes from the arena and is freed with it.
    template <class T>
    class Allocator
    {
    public:
        using value_type = T;

        Allocator(Buffer* buffer = nullptr) noexcept : mpBuffer(buffer) {}

        template <class U>
        Allocator(Allocator<U> const& other) noexcept : mpBuffer(other.GetBuffer())
        {
        }

        T* allocate(std::size_t count)
        {
            if (mpBuffer)
            {
                if (count > static_cast<std::size_t>(-1) / sizeof(T))
                    throw std::bad_array_new_length();
                return static_cast<T*>(mpBuffer->Allocate(count * sizeof(T), alignof(T)));
            }
            return std::allocator<T>().allocate(count);
        }

        void deallocate(T* memory, std::size_t count) noexcept
        {
            if (!mpBuffer)
                std::allocator<T>().deallocate(memory, count);
        }

        /// The arena, or null. Not owned.
        Buffer* GetBuffer() const noexcept { return mpBuffer; }

        template <class U>
        bool operator==(Allocator<U> const& other) const noexcept
        {
            return mpBuffer == other.GetBuffer();
        }

    private:
        Buffer* mpBuffer;
    };

    /// UTF-16 text that owns its memory. Wide text is passed as a zero-terminated array of code units,
    /// `unsigned short const*`.
    using WideString = std::basic_string<unsigned short, std::char_traits<unsigned short>, Allocator<unsigned short>>;

    namespace Literals
    {
        /// Holds a literal's code units in static storage; see operator""_w.
        template <std::size_t size>
        struct WideLiteral
        {
            constexpr WideLiteral(char16_t const (&text)[size])
            {
                for (std::size_t i = 0; i < size; ++i)
                    mText[i] = static_cast<unsigned short>(text[i]);
            }

            unsigned short mText[size];
        };

        /// u"server.log"_w is wide text with static storage, of the type `unsigned short const*`.
        template <WideLiteral literal>
        constexpr unsigned short const* operator""_w()
        {
            return literal.mText;
        }
    }
}
