#include "os/posix/FilesSizeLimit.h"

#include "os/posix/Kernel.h"

#include <atomic>
#include <cerrno>

namespace QzOs::Posix
{
    namespace
    {
        // Until the first file is opened nobody has asked, so a limit is assumed.
        constinit std::atomic<bool> gHasLimit{true};

        // Read by the signal handler, so its access must not allocate.
        [[gnu::tls_model("initial-exec")]] constinit thread_local std::sig_atomic_t volatile tIsWriting = 0;

        void ReadLimit()
        {
            rlimit limit;
            bool const hasLimit = gKernel.mpGetrlimit(&limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
            gHasLimit.store(hasLimit, std::memory_order_relaxed);
        }
    }

    extern "C"
    {
        static void QzLogOnSizeLimitSignal(int signal)
        {
            if (tIsWriting)
                return;
            // The default action comes into force when this returns and the signal is no longer blocked.
            struct sigaction action = {};
            action.sa_handler = SIG_DFL;
            ::sigaction(signal, &action, nullptr);
            ::raise(signal);
        }
    }

    void PrepareForSizeLimit()
    {
        ReadLimit();
        struct sigaction present = {};
        if (gKernel.mpSigaction(SIGXFSZ, nullptr, &present) != 0 || (present.sa_flags & SA_SIGINFO) != 0 ||
            present.sa_handler != SIG_DFL)
            return;
        struct sigaction action = {};
        action.sa_handler = QzLogOnSizeLimitSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        if (gKernel.mpSigaction(SIGXFSZ, &action, nullptr) != 0)
            gHasLimit.store(true, std::memory_order_relaxed);
    }

    SizeLimitGuard::SizeLimitGuard()
    {
        tIsWriting = 1;
        if (gHasLimit.load(std::memory_order_relaxed))
            mBlock.emplace(std::initializer_list<int>{SIGXFSZ});
    }

    SizeLimitGuard::~SizeLimitGuard()
    {
        // The signals are let through while the handler still ignores them.
        mBlock.reset();
        tIsWriting = 0;
    }

    Error SizeLimitGuard::Finish(Error error)
    {
        if (error != EFBIG)
            return error;
        if (mBlock)
            mBlock->Discard();
        else
            DiscardSignals(MakeSignalSet({SIGXFSZ})); // of a limit that is new, if the thread itself blocks the signal
        ReadLimit();
        return error;
    }
}
