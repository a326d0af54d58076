#pragma once

#include <atomic>

namespace QzSynch
{
    /// An atomic counter. All operations may be called from any thread.
    class AtomicLong
    {
    public:
        explicit AtomicLong(int value) noexcept : mValue(value) {}

        /// Adds 1 and returns the new value.
        int operator++() noexcept { return mValue.fetch_add(1, std::memory_order_relaxed) + 1; }

        /// Subtracts 1 and returns the new value. What this thread did before is visible to the thread
        /// that sees the counter at 0.
        int operator--() noexcept { return mValue.fetch_sub(1, std::memory_order_acq_rel) - 1; }

        operator int() const noexcept { return mValue.load(std::memory_order_acquire); }

        /// Replaces `expected` by `desired`. If the value is another, sets `expected` to that value and
        /// returns false. May also fail spuriously: call it in a loop.
        bool CompareExchange(int& expected, int desired) noexcept
        {
            return mValue.compare_exchange_weak(
                expected, desired, std::memory_order_acq_rel, std::memory_order_acquire);
        }

    private:
        std::atomic<int> mValue;
    };
}
