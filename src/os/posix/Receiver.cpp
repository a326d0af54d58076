#include "os/posix/Receiver.h"

#include "os/Calls.h"
#include "os/posix/Kernel.h"

#include <algorithm>
#include <utility>

#include <poll.h>

namespace QzOs::Posix
{
    namespace
    {
        constexpr std::int64_t kLongestWaitNanoseconds = 1'000'000'000;
        constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
        constexpr int kMomentMilliseconds = 10;
    }

    std::int64_t MessageDeadline::GetNanosecondsLeft() noexcept
    {
        std::int64_t const now = gCalls.mpGetMonotonicNanoseconds();
        if (!std::exchange(mHasBegun, true))
            mEnd = now + kLongestWaitNanoseconds;
        return std::max<std::int64_t>(mEnd - now, 0);
    }

    int Receiver::GetMillisecondsLeft(MessageDeadline& deadline) const noexcept
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

    bool Receiver::WaitForRoom(int descriptor, MessageDeadline& deadline) noexcept
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

    bool Receiver::WaitAMoment(MessageDeadline& deadline) noexcept
    {
        int const left = GetMillisecondsLeft(deadline);
        if (left == 0)
            return GiveUp();
        gCalls.mpSleep(static_cast<unsigned int>(std::min(left, kMomentMilliseconds)));
        return true;
    }
}
