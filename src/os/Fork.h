#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

// What a fork means for this process. The child has one thread, a copy of the one that forked. On a system without fork
// the generation stays 0, nothing is called around one, and no thread is ever forking.

namespace QzOs
{
    extern constinit std::atomic<std::uint32_t> gForkGeneration;

    /// Grows by one in a forked child, before the child's first own call. If it differs from a value that was kept
    /// before, this is another process now, with one thread and with open files that it shares with its
    /// parent. Costs a memory read.
    inline std::uint32_t GetForkGeneration() noexcept
    {
        return gForkGeneration.load(std::memory_order_relaxed);
    }

    /// Registers three functions that are called around every fork, on the thread that forks. Each may be null. Those
    /// registered last are called first before a fork, and last after it. Returns false if there is no room. Must not
    /// be called by such a function.
    bool CallAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept;

    // Initial-exec, since every message reads it: no call of the dynamic linker.
    [[gnu::tls_model("initial-exec")]] extern constinit thread_local bool tIsForking;

    /// Whether the calling thread is forking: from before the first of those functions until after the last one, in the
    /// parent and in the child. Then all locks that are held around a fork are this thread's. The host program's own
    /// functions can be called in between, if it registered them before this library was loaded. Costs a memory read.
    inline bool IsForking() noexcept
    {
        return tIsForking;
    }

    /// A mutex that is held around forks, and open meanwhile to the thread that forks.
    class ForkMutex
    {
    public:
        void lock()
        {
            if (!IsForking())
                mMutex.lock();
        }

        void unlock()
        {
            if (!IsForking())
                mMutex.unlock();
        }

        // For the functions that are called around a fork.
        void LockBeforeFork() { mMutex.lock(); }
        void UnlockAfterFork() { mMutex.unlock(); }

    private:
        std::mutex mMutex;
    };
}
