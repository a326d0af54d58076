#pragma once

#include <atomic>

namespace QzSynch
{
    /// A mutex for sections of some microseconds that many threads enter again and again, such as the writing of a
    /// record. An ordinary mutex wakes a sleeper with each release, which costs more than the section, and moves the
    /// data of the section from processor to processor. Here one of the waiting threads tries now and then, and while
    /// it does, only one release in 256 wakes a sleeper. Not recursive. Needs no destructor.
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

        /// For the thread that holds it: whether another thread of this process tries for it. That thread, or one that
        /// comes first, takes the mutex next, at most some milliseconds after its release unless it gets no processor.
        bool IsTriedFor() const noexcept;

    private:
        static constexpr int kLocked = 1;
        /// A thread may be asleep: set by the thread that goes to sleep, cleared by the one that wakes it.
        static constexpr int kSleepers = 2;

        void Wait() noexcept;
        bool TryForAWhile(bool beside) noexcept;
        bool TryBeforeSleep() noexcept;
        void WakeUnlessOneTries() noexcept;

        std::atomic<int> mState{0};
        /// The process's fork generation, plus 1, while one of its threads tries: so a value that a forked child
        /// inherits does not mean a thread that it does not have.
        std::atomic<unsigned int> mTrying{0};
        /// How many releases in a row woke nobody. A hint only.
        std::atomic<unsigned int> mPassedOver{0};
    };
}
