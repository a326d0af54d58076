#include "following/EndRequest.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace QzLogTool
{
    namespace
    {
        std::atomic<bool> gIsAskedFor{false};
        static_assert(std::atomic<bool>::is_always_lock_free);

        // Written to by the handler: a signal that comes just before the waiting must not be waited through.
        constinit std::array<int, 2> gPipe{-1, -1};

        extern "C" void AskForEnd(int)
        {
            int const error = errno;
            gIsAskedFor.store(true, std::memory_order_relaxed);
            [[maybe_unused]] ssize_t const count = write(gPipe[1], "", 1);
            errno = error;
        }

        void Catch(int signal)
        {
            struct sigaction action;
            if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
                return;
            action = {};
            action.sa_handler = AskForEnd;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(signal, &action, nullptr);
        }
    }

    void EndRequest::Listen()
    {
        if (gPipe[0] < 0 && pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            gPipe = {-1, -1};
        Catch(SIGINT);
        Catch(SIGTERM);
    }

    bool EndRequest::IsSignalled()
    {
        return gIsAskedFor.load(std::memory_order_relaxed);
    }

    bool EndRequest::IsMade()
    {
        pollfd output{STDOUT_FILENO, 0, 0};
        return IsSignalled() || (poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0);
    }

    bool EndRequest::Wait(int descriptor, int milliseconds)
    {
        std::array<pollfd, 3> waiting{{{descriptor, POLLIN, 0}, {gPipe[0], POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
        return poll(waiting.data(), waiting.size(), milliseconds) > 0 && waiting[0].revents != 0;
    }
}
