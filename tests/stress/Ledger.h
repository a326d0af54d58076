#pragma once

#include <array>
#include <atomic>
#include <cstdint>

/// What the processes report of their work, in memory that they share with the one that checks.
struct Ledger
{
    static constexpr unsigned int kMaxProcesses = 4096;
    static constexpr unsigned int kMaxThreads = 8;

    struct Thread
    {
        /// The logging calls that were begun, and those that have returned.
        std::atomic<std::uint64_t> mBegun{0};
        std::atomic<std::uint64_t> mReturned{0};
    };

    struct Process
    {
        std::array<Thread, kMaxThreads> mThreads;
        bool mWasKilled = false;
        int mId = 0;
        /// Messages that were lost and not reported, after the last call that has returned.
        std::atomic<std::uint64_t> mUnreported{0};
        /// Those that it reported on standard error when its log was closed, because it could not do it in the log.
        std::atomic<std::uint64_t> mReportedAtEnd{0};
        /// The counters of its Kafka client at its end.
        std::uint64_t mAccepted = 0;
        std::uint64_t mDelivered = 0;
        std::uint64_t mFailed = 0;
    };

    static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

    std::array<Process, kMaxProcesses> mProcesses;
    /// The number of the next process.
    std::atomic<unsigned int> mStarted{0};
    std::atomic<std::uint64_t> mBytes{0};
    std::atomic<bool> mStops{false};
    /// What a campaign has set the clock forward by, in milliseconds.
    std::atomic<std::int64_t> mClockShift{0};
};
