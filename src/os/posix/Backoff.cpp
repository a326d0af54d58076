#include "os/Backoff.h"

#include "os/Cancellation.h"

#include <cerrno>
#include <ctime>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace QzOs
{
    namespace
    {
        constexpr long kAwakeNanoseconds = 8'000;
        constexpr long kNapNanoseconds = 100'000;
        constexpr int kWaits = 12;

        void Pause() noexcept
        {
#if defined(__x86_64__)
            _mm_pause();
#elif defined(__aarch64__)
            asm volatile("isb");
#endif
        }

        long GetNanosecondsSince(timespec const& start) noexcept
        {
            timespec now;
            clock_gettime(CLOCK_MONOTONIC, &now);
            return (now.tv_sec - start.tv_sec) * 1'000'000'000 + (now.tv_nsec - start.tv_nsec);
        }

        void StayAwake() noexcept
        {
            timespec start;
            clock_gettime(CLOCK_MONOTONIC, &start);
            do
            {
                for (int i = 0; i < 8; ++i)
                    Pause();
            } while (GetNanosecondsSince(start) < kAwakeNanoseconds);
        }

        // A signal that ends a sleep only makes the next attempt come earlier.
        void TakeNap() noexcept
        {
            NoCancellation const noCancellation;
            int const previousError = errno;
            timespec const nap{0, kNapNanoseconds};
            nanosleep(&nap, nullptr);
            errno = previousError;
        }
    }

    bool Backoff::Wait() noexcept
    {
        if (mWaits == kWaits)
            return false;
        if (mWaits == 0)
            StayAwake();
        else
            TakeNap();
        ++mWaits;
        return true;
    }
}
