#include <QzDataType/Binary.h>

#include <algorithm>
#include <vector>

namespace QzDataType
{
    Binary::~Binary() = default;

    namespace
    {
        class BinaryImpl : public Binary
        {
        public:
            explicit BinaryImpl(std::size_t size) : mBytes(size), mUsed(size) {}

            std::size_t GetSize() const override { return mUsed; }
            unsigned char* GetData() override { return mBytes.data(); }
            void Reset() override { mUsed = mBytes.size(); }
            void Shorten(std::size_t count) override { mUsed -= std::min(count, mUsed); }

        private:
            std::vector<unsigned char> mBytes;
            std::size_t mUsed;
        };
    }

    Binary* CreateBinary(std::size_t size, QzBase::Buffer*)
    {
        return new BinaryImpl(size);
    }
}
