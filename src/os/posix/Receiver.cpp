#include "os/posix/Receiver.h"

#include "os/Calls.h"
#include "os/posix/Kernel.h"

#include <algorithm>

#include <poll.h>

namespace QzOs::Posix
{
    namespace
    {
        constexpr std::int64_t kLongestWaitNanoseconds = 1'000'000'000;
        constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
        constexpr int kMomentMilliseconds = 10;
    }

    MessageDeadline::MessageDeadline() noexcept : mEnd(gCalls.mpGetMonotonicNanoseconds() + kLongestWaitNanoseconds) {}

    std::int64_t MessageDeadline::GetNanosecondsLeft() const noexcept
    {
        return std::max<std::int64_t>(mEnd - gCalls.mpGetMonotonicNanoseconds(), 0);
    }

    int Receiver::GetMillisecondsLeft(MessageDeadline const& deadline) const noexcept
    {
        if (mStandsStill.load(std::memory_order_relaxed))
            return 0;
        return static_cast<int>(
            (deadline.GetNanosecondsLeft() + kNanosecondsPerMillisecond - 1) / kNanosecondsPerMillisecond);
    }

    bool Receiver::GiveUp() noexcept
    {
        mStandsStill.store(true, std::memory_order_relaxed);
        return false;
    }

    bool Receiver::WaitForRoom(int descriptor, MessageDeadline const& deadline) noexcept
    {
        for (;;)
        {
            int const left = GetMillisecondsLeft(deadline);
            pollfd wanted{descriptor, POLLOUT, 0};
            int const result = gKernel.mpPoll(&wanted, 1, left);
            if (result > 0)
                return true;
            bool const isInterrupted = result < 0 && errno == EINTR;
            if (!isInterrupted || left == 0)
                return GiveUp();
        }
    }

    bool Receiver::WaitAMoment(MessageDeadline const& deadline) noexcept
    {
        int const left = GetMillisecondsLeft(deadline);
        if (left == 0)
            return GiveUp();
        gCalls.mpSleep(static_cast<unsigned int>(std::min(left, kMomentMilliseconds)));
        return true;
    }
}
