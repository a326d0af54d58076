#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include <sys/mman.h>

/// What the processes report of their work, in memory that they share with the one that checks, so that it survives
/// a SIGKILL.
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
        std::uint64_t mReportedAtEnd = 0;
    };

    std::array<Process, kMaxProcesses> mProcesses;
    std::atomic<std::uint64_t> mBytes{0};
    std::atomic<bool> mStops{false};

    /// Null when there is no memory. Stays until the process ends.
    static Ledger* Create()
    {
        void* const memory =
            mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        return memory == MAP_FAILED ? nullptr : new (memory) Ledger;
    }
};
