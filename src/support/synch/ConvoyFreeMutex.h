#pragma once

#include <atomic>

namespace QzSynch
{
    /// A mutex for sections of some microseconds that many threads go through again and again, such as the writing of
    /// a record. The ordinary one wakes a sleeper with each release, which costs more than the section, and passes the
    /// data of the section from processor to processor. Here one of the threads that wait tries now and then, and
    /// no release wakes a sleeper while it does, but for one in 256. Not for recursion. Needs no destructor.
    class ConvoyFreeMutex
    {
    public:
        constexpr ConvoyFreeMutex() noexcept = default;
        ConvoyFreeMutex(ConvoyFreeMutex const&) = delete;
        ConvoyFreeMutex& operator=(ConvoyFreeMutex const&) = delete;

        void lock() noexcept
        {
            int state = 0;
            if (!mState.compare_exchange_strong(state, kLocked, std::memory_order_acquire, std::memory_order_relaxed))
                Wait();
        }

        void unlock() noexcept
        {
            if ((mState.fetch_and(~kLocked) & kSleepers) != 0)
                WakeUnlessOneTries();
        }

    private:
        static constexpr int kLocked = 1;
        /// Perhaps somebody sleeps: set by who goes to sleep, cleared by who wakes.
        static constexpr int kSleepers = 2;

        void Wait() noexcept;
        bool TryForAWhile(bool beside) noexcept;
        bool TryBeforeSleep() noexcept;
        void WakeUnlessOneTries() noexcept;

        std::atomic<int> mState{0};
        /// The process's fork generation, plus 1, while one of its threads tries: so a mark that a forked child
        /// inherits does not stand for a thread that it has not.
        std::atomic<unsigned int> mTrying{0};
        /// How many releases in a row woke nobody. A hint only.
        std::atomic<unsigned int> mPassedOver{0};
    };
}
