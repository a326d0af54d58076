#pragma once

#include <cstdint>
#include <mutex>

// A thread can ask for a copy of the process. The copy has that thread alone.

namespace QzOs
{
    /// Grows by one in a forked child, before the child's first own call: a value that was kept from before
    /// tells that this is another process now, with one thread and with open files that it shares with its
    /// parent. Costs a memory read.
    std::uint32_t GetForkGeneration();

    /// Has the three functions called whenever the process is copied, on the thread that asks for the copy
    /// and that is the only one which goes on in it. Each may be null. Who comes here later is called earlier before a
    /// copy, and later after it. Returns false when there is no room for that. Not to be called by such a function.
    bool CallAroundProcessCopy(void (*before)(), void (*afterInOriginal)(), void (*afterInCopy)()) noexcept;

    // Reached directly and not through a call of the dynamic linker: a message comes by here.
    [[gnu::tls_model("initial-exec")]] extern constinit thread_local bool tIsCopyingProcess;

    /// Whether the calling thread is copying the process: from before the first of those functions to behind the last
    /// one, in the original and in the copy. Then all locks that are held around a copy are this thread's. The host
    /// program's own functions can be called in between, if it registered them before this library was loaded. Costs a
    /// memory read.
    inline bool IsCopyingProcess() noexcept
    {
        return tIsCopyingProcess;
    }

    /// A mutex that is held around copies of the process, and open meanwhile to the thread that makes the copy.
    class ProcessCopyMutex
    {
    public:
        void lock()
        {
            if (!IsCopyingProcess())
                mMutex.lock();
        }

        void unlock()
        {
            if (!IsCopyingProcess())
                mMutex.unlock();
        }

        // For the functions that are called around a copy.
        void LockBeforeCopy() { mMutex.lock(); }
        void UnlockAfterCopy() { mMutex.unlock(); }

    private:
        std::mutex mMutex;
    };
}
