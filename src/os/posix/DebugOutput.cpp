#include "os/posix/Output.h"

#include "os/Cancellation.h"
#include "os/Fork.h"
#include "os/Unicode.h"
#include "os/posix/Kernel.h"
#include "os/posix/Receiver.h"
#include "os/posix/SignalBlock.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <mutex>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QzOs::Posix
{
    namespace
    {
        constexpr std::string_view kLineEnd = "\r\n";

        constinit Receiver gReader;

        // One message at a time: a pipe mixes what is larger than PIPE_BUF.
        constinit std::timed_mutex gLock;
        // Held by the thread that takes the lock next. Without it, a thread that writes one message after the other
        // would retake the lock before waiting threads have woken up: their messages would be dropped, and a fork
        // could wait for ever.
        constinit std::timed_mutex gTurn;
        // Under the lock: the last message was given up within a line.
        constinit bool gIsWithinLine = false;

        // When the library is loaded. Handlers that are registered first are called last before a fork: this lock is
        // taken before the one of StandardDescriptors.cpp.
        [[gnu::constructor(102)]] void HoldLockAroundForks()
        {
            auto const lock = []
            {
                gTurn.lock();
                gLock.lock();
            };
            auto const unlock = []
            {
                gLock.unlock();
                gTurn.unlock();
            };
            CallAroundFork(lock, unlock, unlock);
        }

        /// Uses the clock that can be set, since the thread sanitizer knows no other lock with a time-out. Setting it
        /// back does no harm: whoever holds the lock releases it after a second.
        std::unique_lock<std::timed_mutex> Lock(std::timed_mutex& mutex, MessageDeadline& deadline)
        {
            std::unique_lock hold(mutex, std::try_to_lock);
            if (!hold)
            {
                auto const left = std::chrono::nanoseconds(deadline.GetNanosecondsLeft());
                static_cast<void>(hold.try_lock_until(std::chrono::system_clock::now() + left));
            }
            return hold;
        }

        /// Owns the lock if this message's turn comes before its deadline.
        std::unique_lock<std::timed_mutex> LockInTurn(MessageDeadline& deadline)
        {
            auto const turn = Lock(gTurn, deadline);
            return turn ? Lock(gLock, deadline) : std::unique_lock<std::timed_mutex>();
        }

        /// The present standard error, for one message. Whether its writes block is a property of the open file, which
        /// other programs share, so it is not changed. Where the system cannot write to a pipe or terminal without
        /// blocking otherwise, it is opened anew.
        class StandardError
        {
        public:
            StandardError() noexcept
            {
                // Asks for the kind only: asking for the times of a file makes the next write to it slower.
                struct statx status;
                if (::statx(STDERR_FILENO, "", AT_EMPTY_PATH, STATX_TYPE, &status) != 0)
                    return;
                if (S_ISSOCK(status.stx_mode))
                    mWay = Way::Socket;
                else if (S_ISFIFO(status.stx_mode))
                    mWay = Way::AtOnce;
                else if (S_ISCHR(status.stx_mode) && ::isatty(STDERR_FILENO) == 1)
                    OpenAnew();
            }

            ~StandardError()
            {
                if (mDescriptor != STDERR_FILENO)
                    gKernel.mpClose(mDescriptor);
            }

            StandardError(StandardError const&) = delete;
            StandardError& operator=(StandardError const&) = delete;

            /// Returns as write does, and does not block. Where the program may not open its standard error anew, it
            /// blocks only if another program fills the room that was there a moment ago.
            ssize_t Write(std::string_view text, MessageDeadline& deadline) noexcept
            {
                if (mWay == Way::Socket)
                    return ::send(STDERR_FILENO, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
                if (mWay == Way::AtOnce)
                {
                    ssize_t const written = gKernel.mpWriteAtOnce(STDERR_FILENO, text.data(), text.size());
                    if (written >= 0 || errno != EOPNOTSUPP)
                        return written;
                    OpenAnew();
                }
                if (mWay == Way::WithRoom)
                {
                    if (!WaitForRoom(deadline))
                        return 0;
                    text = text.substr(0, PIPE_BUF);
                }
                return gKernel.mpWrite(mDescriptor, text.data(), text.size());
            }

            bool WaitForRoom(MessageDeadline& deadline) noexcept { return gReader.WaitForRoom(mDescriptor, deadline); }

        private:
            enum class Way
            {
                Plain,
                Socket,
                AtOnce,
                WithRoom
            };

            void OpenAnew() noexcept
            {
                // Append, in case a file is there by now.
                constexpr int flags = O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | O_APPEND;
                int const own = OpenAboveStandard([=] { return gKernel.mpOpen("/proc/self/fd/2", flags, 0); });
                mWay = own == -1 ? Way::WithRoom : Way::Plain;
                mDescriptor = own == -1 ? STDERR_FILENO : own;
            }

            Way mWay = Way::Plain;
            int mDescriptor = STDERR_FILENO;
        };

        /// Writes with one call, so that nothing gets between its lines, and with more calls if the system takes only a
        /// part. Returns how much was written before the message was given up.
        std::size_t Write(std::string_view text, MessageDeadline& deadline)
        {
            SignalBlock signals({SIGPIPE, SIGXFSZ});
            StandardError standardError;
            std::size_t done = 0;
            while (done < text.size())
            {
                ssize_t const written = RetryOnSignal([&] { return standardError.Write(text.substr(done), deadline); });
                if (written > 0)
                {
                    done += static_cast<std::size_t>(written);
                    gReader.HasTaken();
                    continue;
                }
                bool const isFull = written < 0 && errno == EAGAIN;
                if (isFull && standardError.WaitForRoom(deadline))
                    continue;
                signals.Discard();
                break;
            }
            return done;
        }
    }

    void WriteDebugOutput(unsigned short const* text)
    {
        int const error = errno;
        NoCancellation const noCancellation;
        std::string narrow(kLineEnd);
        AppendUTF8(narrow, text, std::char_traits<unsigned short>::length(text), Malformed::Replace);
        MessageDeadline deadline;
        if (auto const hold = LockInTurn(deadline))
        {
            std::string_view const output = std::string_view(narrow).substr(gIsWithinLine ? 0 : kLineEnd.size());
            std::size_t const done = Write(output, deadline);
            if (done != 0)
                gIsWithinLine = done < output.size() && output[done - 1] != '\n';
        }
        errno = error;
    }
}
