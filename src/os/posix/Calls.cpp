#include "os/Calls.h"

#include "os/Fork.h"
#include "os/posix/Output.h"

#include <cerrno>
#include <ctime>
#include <mutex>

#include <sched.h>

namespace QzOs
{
    namespace
    {
        std::int64_t GetUTCMilliseconds()
        {
            timespec now;
            clock_gettime(CLOCK_REALTIME, &now);
            return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
        }

        // Held around a fork. The C library's own lock in localtime_r is not: a child that was forked while a thread
        // of the parent held it would wait for ever.
        constinit ForkMutex gZoneLock;

        // When the library is loaded, before all static objects and so before the locks of the layers above: handlers
        // that are registered first are called last before a fork, so this lock is taken under those.
        [[gnu::constructor(101)]] void HoldZoneLockAroundForks()
        {
            auto const unlock = [] { gZoneLock.UnlockAfterFork(); };
            CallAroundFork([] { gZoneLock.LockBeforeFork(); }, unlock, unlock);
        }

        int GetZoneMinutes(std::int64_t utcSeconds)
        {
            std::lock_guard const hold(gZoneLock);
            std::time_t const seconds = utcSeconds;
            std::tm local = {};
            localtime_r(&seconds, &local);
            return static_cast<int>(local.tm_gmtoff / 60);
        }

        std::int64_t GetMonotonicNanoseconds()
        {
            timespec now;
            clock_gettime(CLOCK_MONOTONIC, &now);
            return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
        }

        void Sleep(unsigned int milliseconds)
        {
            if (milliseconds == 0)
            {
                sched_yield();
                return;
            }
            timespec rest{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1'000'000};
            while (nanosleep(&rest, &rest) != 0 && errno == EINTR)
            {
            }
        }
    }

    constinit Calls gCalls{GetUTCMilliseconds, GetZoneMinutes, GetMonotonicNanoseconds, Sleep, Posix::WriteDebugOutput,
        Posix::RegisterEventSource, Posix::ReportEvent, Posix::DeregisterEventSource};
}
