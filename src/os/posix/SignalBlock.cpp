#include "os/posix/SignalBlock.h"

#include "os/posix/Kernel.h"

#include <ctime>
#include <initializer_list>

namespace QzOs::Posix
{
    SignalBlock::SignalBlock() noexcept
    {
        sigemptyset(&mOurs);
        sigaddset(&mOurs, SIGPIPE);
        sigaddset(&mOurs, SIGXFSZ);
        mIsBlocked = gKernel.mpSigmask(SIG_BLOCK, &mOurs, &mOldMask) == 0;
        if (!mIsBlocked)
            return;
        // Only a thread that blocks a signal itself can have one waiting.
        for (int const signal : {SIGPIPE, SIGXFSZ})
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
        timespec const atOnce = {};
        while (mIsBlocked && RetryOnSignal([&] { return gKernel.mpSigtimedwait(&mOurs, nullptr, &atOnce); }) > 0)
        {
        }
    }
}
