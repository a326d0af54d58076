#include "support/synch/ConvoyFreeMutex.h"

#include "os/Backoff.h"
#include "os/Fork.h"

// Nobody is left asleep in the manner of Dekker: a thread stops trying and then looks at the state, a release frees the
// state and then looks whether somebody tries, so at least one of them sees the other. That holds only in the single
// order of sequentially consistent operations, the default of the atomics here.

namespace QzSynch
{
    namespace
    {
        // So that sleepers get their turn too where others come again and again.
        constexpr unsigned int kLongestPassingOver = 256;

        unsigned int GetMark() noexcept
        {
            return QzOs::GetForkGeneration() + 1;
        }
    }

    void ConvoyFreeMutex::Wait() noexcept
    {
        // Whoever was woken tries as well, although somebody else may: it has waited for longer.
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
            // Others may sleep, and who wakes one of them has cleared the mark.
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
        // Whoever has taken the lock meanwhile has taken the mark with it, and wakes in turn.
        int state = kSleepers;
        if (mState.compare_exchange_strong(state, 0))
            mState.notify_one();
    }
}
