#include "os/posix/SignalBlock.h"

#include "os/posix/Kernel.h"

#include <ctime>

namespace QzOs::Posix
{
    sigset_t MakeSignalSet(std::initializer_list<int> signals) noexcept
    {
        sigset_t set;
        sigemptyset(&set);
        for (int const signal : signals)
            sigaddset(&set, signal);
        return set;
    }

    void DiscardSignals(sigset_t const& signals) noexcept
    {
        timespec const atOnce = {};
        while (RetryOnSignal([&] { return gKernel.mpSigtimedwait(&signals, nullptr, &atOnce); }) > 0)
        {
        }
    }

    SignalBlock::SignalBlock(std::initializer_list<int> signals) noexcept : mOurs(MakeSignalSet(signals))
    {
        mIsBlocked = gKernel.mpSigmask(SIG_BLOCK, &mOurs, &mOldMask) == 0;
        if (!mIsBlocked)
            return;
        // Only a thread that blocks a signal itself can have one waiting.
        for (int const signal : signals)
        {
            sigset_t pending;
            if (sigismember(&mOldMask, signal) == 1 && gKernel.mpSigpending(&pending) == 0 &&
                sigismember(&pending, signal) == 1)
                sigdelset(&mOurs, signal);
        }
    }

    SignalBlock::~SignalBlock()
    {
        if (mIsBlocked)
            gKernel.mpSigmask(SIG_SETMASK, &mOldMask, nullptr);
    }

    void SignalBlock::Discard() noexcept
    {
        if (mIsBlocked)
            DiscardSignals(mOurs);
    }
}
