#include "os/Calls.h"

#include "os/posix/Output.h"

#include <cerrno>
#include <ctime>

#include <sched.h>

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

        int GetZoneMinutes(std::int64_t utcSeconds)
        {
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
