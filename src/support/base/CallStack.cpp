#include <QzBase/CallStack.h>

#include "support/base/FrameNames.h"

#include <QzBase/Conversions.h>

#include <algorithm>
#include <deque>

namespace QzBase
{
    CallStack::~CallStack() = default;

    namespace
    {
        /// Looks its name up on demand: a name costs far more than the address, and whoever shows a stack leaves
        /// frames out.
        class FrameImpl final : public CallStack::Frame
        {
        public:
            explicit FrameImpl(std::uintptr_t address) : mAddress(address) {}

            unsigned short const* GetDescription() const override
            {
                if (mDescription.empty())
                    mDescription = UTF8ToWideChar(DescribeFrame(mAddress).c_str(), true).c_str();
                return mDescription.c_str();
            }

        private:
            std::uintptr_t mAddress;
            mutable WideString mDescription;
        };

        class CallStackImpl final : public CallStack
        {
        public:
            template <class Iterator>
            CallStackImpl(Iterator first, Iterator last) : mFrames(first, last)
            {
            }

            unsigned int GetFrameCount() const override { return static_cast<unsigned int>(mFrames.size()); }
            Frame const& GetFrame(unsigned int index) const override { return mFrames[index]; }
            void Destroy() override { delete this; }

        private:
            std::deque<FrameImpl> mFrames;
        };
    }

    // Not inlined, so that it returns into the function that becomes frame 0. How many frames stand in front of
    // that one depends on the optimiser; where this function returns to does not.
    __attribute__((noinline)) CallStack* CreateCallStack(Buffer*)
    {
        auto const returnAddress =
            reinterpret_cast<std::uintptr_t>(__builtin_extract_return_addr(__builtin_return_address(0)));
        std::vector<std::uintptr_t> const frames = CollectFrames();
        auto const caller = std::find(frames.begin(), frames.end(), returnAddress - 1);
        return new CallStackImpl(caller != frames.end() ? caller : frames.begin(), frames.end());
    }
}
