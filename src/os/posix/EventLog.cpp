#include "os/posix/Output.h"

#include "os/Calls.h"
#include "os/Cancellation.h"
#include "os/EventType.h"
#include "os/Unicode.h"
#include "os/posix/Kernel.h"
#include "os/posix/SignalBlock.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <new>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#ifdef QZLOG_WITH_JOURNAL
// The place in our source would stand in every entry.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#endif

// The event log: the journal where one runs, else the classic socket. openlog and syslog belong to the program
// that we are loaded into, so both are spoken to directly. No connection is kept: events are few, and each of
// them finds the log that runs now, in a child process too.

namespace QzOs::Posix
{
    namespace
    {
        constexpr char kSyslogPath[] = "/dev/log";

        /// A datagram that does not fit is cut in half until it does, but not below this.
        constexpr std::size_t kSmallestDatagram = 1024;

        /// What RegisterEventSource gives out: the name in UTF-8.
        using Source = std::string;

        std::string ToUTF8(unsigned short const* text)
        {
            std::string narrow;
            AppendUTF8(narrow, text, std::char_traits<unsigned short>::length(text), Malformed::Replace);
            return narrow;
        }

        int ToPriority(unsigned short type) noexcept
        {
            switch (type)
            {
            case kEventError:
                return LOG_ERR;
            case kEventWarning:
                return LOG_WARNING;
            default:
                return LOG_INFO;
            }
        }

#ifdef QZLOG_WITH_JOURNAL
        constexpr char kJournalPath[] = "/run/systemd/journal/socket";

        template <std::size_t size>
        std::string MakeField(char const (&name)[size], std::string const& value)
        {
            std::string field(name, size - 1);
            return field.append(1, '=').append(value);
        }

        iovec ToVector(std::string& field) noexcept
        {
            return {field.data(), field.size()};
        }

        /// Whether the journal has taken the event. Its library reports success where no journal runs, so its socket
        /// is looked for first.
        bool SendToJournal(Source const& source, int priority, unsigned int eventID, std::string const& text)
        {
            struct stat status;
            if (gKernel.mpStat(kJournalPath, &status) != 0 || !S_ISSOCK(status.st_mode))
                return false;
            std::string fields[] = {MakeField("MESSAGE", text), MakeField("PRIORITY", std::to_string(priority)),
                MakeField("SYSLOG_IDENTIFIER", source), MakeField("EVENT_ID", std::to_string(eventID))};
            iovec const vectors[] = {
                ToVector(fields[0]), ToVector(fields[1]), ToVector(fields[2]), ToVector(fields[3])};
            return sd_journal_sendv(vectors, static_cast<int>(std::size(vectors))) >= 0;
        }
#else
        bool SendToJournal(Source const&, int, unsigned int, std::string const&)
        {
            return false;
        }
#endif

        std::string PadLeft(unsigned int value, char padding)
        {
            std::string text = std::to_string(value);
            return text.size() < 2 ? padding + text : text;
        }

        /// "Nov  8 03:02:07", in English and local time, as receivers of such lines expect.
        std::string GetSyslogTime()
        {
            static constexpr char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
            std::int64_t const utcSeconds = gCalls.mpGetUTCMilliseconds() / 1000;
            std::chrono::sys_seconds const local{
                std::chrono::seconds(utcSeconds + std::int64_t{60} * gCalls.mpGetZoneMinutes(utcSeconds))};
            auto const day = std::chrono::floor<std::chrono::days>(local);
            std::chrono::year_month_day const date(day);
            auto const second = static_cast<unsigned int>((local - day).count());

            std::string time(kMonths + 3 * (static_cast<unsigned int>(date.month()) - 1), 3);
            time += ' ' + PadLeft(static_cast<unsigned int>(date.day()), ' ');
            time += ' ' + PadLeft(second / 3600, '0');
            time += ':' + PadLeft(second / 60 % 60, '0');
            return time += ':' + PadLeft(second % 60, '0');
        }

        /// `datagram` without its second half, and without a part of a character at its end.
        void Halve(std::string& datagram)
        {
            std::size_t length = datagram.size() / 2;
            while (length > 0 && (static_cast<unsigned char>(datagram[length]) & 0xC0) == 0x80)
                --length;
            datagram.resize(length);
        }

        void SendToSyslog(Source const& source, int priority, std::string const& text)
        {
            int const descriptor = OpenAboveStandard([] { return ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); });
            if (descriptor < 0)
                return;
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            std::char_traits<char>::copy(address.sun_path, kSyslogPath, sizeof(kSyslogPath));
            void const* const target = &address;

            std::string datagram = '<' + std::to_string(LOG_USER | priority) + '>' + GetSyslogTime() + ' ' + source +
                                   '[' + std::to_string(::getpid()) + "]: " + text;
            auto const send = [&]
            {
                return ::sendto(descriptor, datagram.data(), datagram.size(), MSG_NOSIGNAL,
                    static_cast<sockaddr const*>(target), sizeof(address));
            };
            while (RetryOnSignal(send) < 0 && errno == EMSGSIZE && datagram.size() > kSmallestDatagram)
                Halve(datagram);
            gKernel.mpClose(descriptor);
        }
    }

    void* RegisterEventSource(unsigned short const* sourceName)
    {
        return new (std::nothrow) Source(ToUTF8(sourceName));
    }

    void ReportEvent(void* source, unsigned short type, unsigned int eventID, unsigned short const* text)
    {
        if (!source)
            return;
        int const error = errno;
        NoCancellation const noCancellation;
        {
            // The journal gets large texts by way of a file in memory, which the limit of file sizes holds for.
            SignalBlock signals;
            Source const& name = *static_cast<Source const*>(source);
            std::string const narrow = ToUTF8(text);
            int const priority = ToPriority(type);
            if (!SendToJournal(name, priority, eventID, narrow))
            {
                SendToSyslog(name, priority, narrow);
                signals.Discard();
            }
        }
        errno = error;
    }

    void DeregisterEventSource(void* source)
    {
        delete static_cast<Source*>(source);
    }
}
