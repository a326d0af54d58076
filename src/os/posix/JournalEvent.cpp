#include "os/posix/Events.h"

#include "os/posix/Kernel.h"
#include "os/posix/LocalSocket.h"
#include "os/posix/SignalBlock.h"
#include "os/posix/StandardDescriptors.h"

#include <cstdint>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>

// The journal's native protocol, https://systemd.io/JOURNAL_NATIVE_PROTOCOL: an event is one datagram of fields. One
// that is too large for a datagram goes into a file in memory that nobody can change any more, whose descriptor is
// sent instead.

namespace QzOs::Posix
{
    namespace
    {
        constexpr char kJournalPath[] = "/run/systemd/journal/socket";

        constinit Receiver gJournal;

        /// "NAME=value", or the form with a length if the value has several lines, which would otherwise be fields.
        void AppendField(std::string& datagram, char const* name, std::string_view value)
        {
            datagram += name;
            if (value.find('\n') == value.npos)
            {
                datagram += '=';
            }
            else
            {
                datagram += '\n';
                std::uint64_t const size = value.size();
                for (unsigned int shift = 0; shift < 64; shift += 8)
                    datagram += static_cast<char>(size >> shift & 0xFF);
            }
            datagram.append(value) += '\n';
        }

        int WriteAll(int descriptor, std::string_view bytes)
        {
            // The process's limit of file sizes applies to it too.
            SignalBlock signals({SIGPIPE, SIGXFSZ});
            while (!bytes.empty())
            {
                ssize_t const written =
                    RetryOnSignal([&] { return gKernel.mpWrite(descriptor, bytes.data(), bytes.size()); });
                if (written < 0)
                {
                    int const error = errno;
                    signals.Discard();
                    return error;
                }
                bytes.remove_prefix(static_cast<std::size_t>(written));
            }
            return 0;
        }

        int SendAsFile(LocalSocket& journal, std::string_view datagram)
        {
            int const file =
                OpenAboveStandard([] { return ::memfd_create("qzlog-event", MFD_CLOEXEC | MFD_ALLOW_SEALING); });
            if (file == -1)
                return errno;
            int error = WriteAll(file, datagram);
            if (error == 0 && ::fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0)
                error = errno;
            if (error == 0)
                error = journal.SendDescriptor(file);
            gKernel.mpClose(file);
            return error;
        }
    }

    bool SendToJournal(Event const& event, MessageDeadline& deadline)
    {
        LocalSocket journal(kJournalPath, SOCK_DGRAM, gJournal, deadline);
        if (journal.GetError() != 0)
            return false;
        auto const make = [&](std::string_view text)
        {
            std::string datagram;
            AppendField(datagram, "MESSAGE", text);
            AppendField(datagram, "PRIORITY", std::to_string(event.mPriority));
            AppendField(datagram, "SYSLOG_IDENTIFIER", event.mSource);
            AppendField(datagram, "EVENT_ID", std::to_string(event.mID));
            return datagram;
        };
        std::string const datagram = make(event.mText);
        int error = journal.Send(datagram);
        if (LocalSocket::IsTooLarge(error))
        {
            error = SendAsFile(journal, datagram);
            if (error != 0 && error != EAGAIN)
                error = journal.SendCut(event.mText, make);
        }
        return error != ECONNREFUSED;
    }
}
