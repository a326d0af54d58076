#pragma once

#include <QzLog/Destination_DiskFile.h>

#include <atomic>
#include <cstdint>

namespace QzLog
{
    /// The statistics of a disk file. Written by the thread that holds the destination's section, and read by any
    /// thread without a lock, each figure by itself.
    class LogCounters
    {
    public:
        void AddRecords(std::uint64_t records) noexcept { Add(mRecords, records); }
        void AddBytes(std::uint64_t bytes) noexcept { Add(mBytes, bytes); }
        void AddRollOver() noexcept { Add(mRollOvers, 1); }
        void AddReported(std::uint64_t losses) noexcept { Add(mLossesReported, losses); }
        void AddDropped(std::uint64_t losses) noexcept { Add(mLossesDropped, losses); }
        void SetWaiting(std::uint64_t losses) noexcept { mLossesWaiting.store(losses, std::memory_order_relaxed); }

        void AddLockWait(std::uint64_t nanoseconds) noexcept
        {
            if (nanoseconds > mLongestLockWait.load(std::memory_order_relaxed))
                mLongestLockWait.store(nanoseconds, std::memory_order_relaxed);
        }

        /// For a forked child, which counts anew.
        void Reset() noexcept
        {
            for (Counter* const counter : {&mRecords, &mBytes, &mRollOvers, &mLossesReported, &mLossesWaiting,
                     &mLossesDropped, &mLongestLockWait})
                counter->store(0, std::memory_order_relaxed);
        }

        DiskFileStatistics Get() const noexcept
        {
            auto const read = [](Counter const& counter) { return counter.load(std::memory_order_relaxed); };
            return {read(mRecords), read(mBytes), read(mRollOvers), read(mLossesReported), read(mLossesWaiting),
                read(mLossesDropped), read(mLongestLockWait)};
        }

    private:
        using Counter = std::atomic<std::uint64_t>;

        /// There is one writer at a time, so no atomic addition is needed.
        static void Add(Counter& counter, std::uint64_t value) noexcept
        {
            counter.store(counter.load(std::memory_order_relaxed) + value, std::memory_order_relaxed);
        }

        Counter mRecords{0};
        Counter mBytes{0};
        Counter mRollOvers{0};
        Counter mLossesReported{0};
        Counter mLossesWaiting{0};
        Counter mLossesDropped{0};
        Counter mLongestLockWait{0};
    };
}
