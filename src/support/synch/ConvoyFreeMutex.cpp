#include "support/synch/ConvoyFreeMutex.h"

#include "os/Backoff.h"
#include "os/Fork.h"

// No thread is left asleep, by Dekker's scheme: a thread stops trying and then reads the state; a release frees the
// state and then reads whether somebody tries. So at least one of them sees the other. That holds only in the single
// order of sequentially consistent operations, the default of the atomics here.
// tests/models/ConvoyFreeMutex.pml is a model of this file.

namespace QzSynch
{
    namespace
    {
        // So that sleepers get their turn even if other threads come again and again.
        constexpr unsigned int kLongestPassingOver = 256;

        unsigned int GetMark() noexcept
        {
            return QzOs::GetForkGeneration() + 1;
        }
    }

    bool ConvoyFreeMutex::IsTriedFor() const noexcept
    {
        return mTrying.load(std::memory_order_relaxed) == GetMark();
    }

    void ConvoyFreeMutex::Wait() noexcept
    {
        // A thread that was woken tries too, even if another one does: it has waited for longer.
        bool wasWoken = false;
        while (!TryForAWhile(wasWoken) && !TryBeforeSleep())
        {
            mState.wait(kLocked | kSleepers);
            wasWoken = true;
        }
    }

    bool ConvoyFreeMutex::TryForAWhile(bool beside) noexcept
    {
        unsigned int const mark = GetMark();
        unsigned int other = mTrying.load();
        bool const isMarked = other != mark && mTrying.compare_exchange_strong(other, mark);
        if (!isMarked && !beside)
            return false;
        bool isTaken = false;
        QzOs::Backoff backoff;
        do
        {
            int state = mState.load(std::memory_order_relaxed);
            // Others may be asleep, and the thread that wakes one of them has cleared kSleepers.
            isTaken = (state & kLocked) == 0 && mState.compare_exchange_strong(state, kLocked | kSleepers);
        } while (!isTaken && backoff.Wait());
        if (isMarked)
            mTrying.store(0);
        return isTaken;
    }

    bool ConvoyFreeMutex::TryBeforeSleep() noexcept
    {
        int state = mState.load();
        for (;;)
        {
            bool const isFree = (state & kLocked) == 0;
            if (state == (kLocked | kSleepers) || mState.compare_exchange_weak(state, kLocked | kSleepers))
                return isFree;
        }
    }

    void ConvoyFreeMutex::WakeUnlessOneTries() noexcept
    {
        if (mTrying.load() == GetMark() && mPassedOver.fetch_add(1, std::memory_order_relaxed) < kLongestPassingOver)
            return;
        mPassedOver.store(0, std::memory_order_relaxed);
        // A thread that has taken the lock meanwhile has set kSleepers as well, and wakes others later.
        int state = kSleepers;
        if (mState.compare_exchange_strong(state, 0))
            mState.notify_one();
    }
}
