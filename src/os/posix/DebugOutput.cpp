#include "os/posix/Output.h"

#include "os/Cancellation.h"
#include "os/Unicode.h"
#include "os/posix/Kernel.h"
#include "os/posix/SignalBlock.h"

#include <cerrno>
#include <string>
#include <string_view>

#include <poll.h>
#include <unistd.h>

namespace QzOs::Posix
{
    namespace
    {
        /// How long the rest of a message waits for room where the program has made standard error non-blocking.
        /// A reader that stands still must not hold the program up for good.
        constexpr int kRoomWaitMilliseconds = 1000;

        bool WaitForRoom()
        {
            pollfd standardError{STDERR_FILENO, POLLOUT, 0};
            return RetryOnSignal([&] { return ::poll(&standardError, 1, kRoomWaitMilliseconds); }) > 0;
        }

        /// One call for the whole text, so that nothing gets between its lines. More follow only where the system has
        /// taken a part of it: a message that has begun is brought to its end. One that finds no room at all is
        /// dropped.
        void Write(std::string_view text)
        {
            SignalBlock signals;
            bool hasBegun = false;
            while (!text.empty())
            {
                ssize_t const written =
                    RetryOnSignal([&] { return gKernel.mpWrite(STDERR_FILENO, text.data(), text.size()); });
                if (written > 0)
                {
                    text.remove_prefix(static_cast<std::size_t>(written));
                    hasBegun = true;
                    continue;
                }
                bool const isFull = written < 0 && errno == EAGAIN;
                if (isFull && hasBegun && WaitForRoom())
                    continue;
                signals.Discard();
                return;
            }
        }
    }

    void WriteDebugOutput(unsigned short const* text)
    {
        int const error = errno;
        NoCancellation const noCancellation;
        std::string narrow;
        AppendUTF8(narrow, text, std::char_traits<unsigned short>::length(text), Malformed::Replace);
        Write(narrow);
        errno = error;
    }
}
