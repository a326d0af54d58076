#include <QzLogKit/ReloadSignal.h>

#include <QzBase/Message.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string>

#include <sys/eventfd.h>
#include <unistd.h>

namespace QzLogKit
{
    namespace
    {
        // What the handler reads. The descriptor is never closed, since a handler on another thread may be about to
        // write to it; a child shares it, so only the process that made the object may.
        std::atomic<bool> gIsAsked{false};
        std::atomic<int> gDescriptor{-1};
        std::atomic<pid_t> gOwner{0};
        static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

        struct sigaction gReplaced = {};

        [[noreturn]] void Fail(std::string const& text)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
        }

        void Handle(int)
        {
            int const error = errno;
            if (gOwner.load() == getpid())
            {
                std::uint64_t const one = 1;
                // It can only fail because it is readable already. The flag comes second, and who takes the flag reads
                // the descriptor after it: a descriptor that stays readable always finds the flag set.
                [[maybe_unused]] ssize_t const ignored = write(gDescriptor.load(), &one, sizeof one);
                gIsAsked = true;
            }
            errno = error;
        }

        /// A child must not share it with the parent, or each would take the other's signals.
        void OpenDescriptor()
        {
            static pid_t opener = 0;
            if (opener == getpid())
                return;
            int const descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
            if (descriptor < 0)
                Fail("The signal for a reload needs a descriptor, and the system gives none.");
            gDescriptor = descriptor;
            opener = getpid();
        }
    }

    ReloadSignal::ReloadSignal(Routing& routing, int signal) : mRouting(routing), mSignal(signal)
    {
        pid_t nobody = 0;
        if (!gOwner.compare_exchange_strong(nobody, getpid()))
            Fail("Another object handles the signal for a reload.");
        try
        {
            OpenDescriptor();
            struct sigaction present = {};
            if (sigaction(signal, nullptr, &present) != 0)
                Fail("There is no signal " + std::to_string(signal) + '.');
            if ((present.sa_flags & SA_SIGINFO) != 0 ||
                (present.sa_handler != SIG_DFL && present.sa_handler != SIG_IGN))
                Fail("Signal " + std::to_string(signal) + " has a handler already.");
            struct sigaction action = {};
            action.sa_handler = &Handle;
            action.sa_flags = SA_RESTART;
            sigemptyset(&action.sa_mask);
            if (sigaction(signal, &action, &gReplaced) != 0)
                Fail("Signal " + std::to_string(signal) + " cannot be handled.");
        }
        catch (...)
        {
            gOwner = 0;
            throw;
        }
    }

    ReloadSignal::~ReloadSignal()
    {
        struct sigaction present = {};
        if (sigaction(mSignal, nullptr, &present) == 0 && present.sa_handler == &Handle)
            sigaction(mSignal, &gReplaced, nullptr);
        gIsAsked = false;
        gOwner = 0;
    }

    int ReloadSignal::GetDescriptor() const
    {
        return gDescriptor;
    }

    bool ReloadSignal::ReloadIfAsked()
    {
        if (!gIsAsked.load(std::memory_order_relaxed) || !gIsAsked.exchange(false))
            return false;
        std::uint64_t count = 0;
        [[maybe_unused]] ssize_t const ignored = read(gDescriptor.load(), &count, sizeof count);
        mRouting.Reload();
        return true;
    }
}
