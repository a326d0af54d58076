#include "os/posix/Events.h"

#include "os/Calls.h"
#include "os/posix/LocalSocket.h"

#include <cerrno>
#include <chrono>
#include <cstdint>

#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

namespace QzOs::Posix
{
    namespace
    {
        constexpr char kSyslogPath[] = "/dev/log";

        constinit Receiver gSyslog;

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
    }

    void SendToSyslog(Event const& event, MessageDeadline& deadline)
    {
        std::string const head = '<' + std::to_string(LOG_USER | event.mPriority) + '>' + GetSyslogTime() + ' ' +
                                 event.mSource + '[' + std::to_string(::getpid()) + "]: ";
        LocalSocket datagrams(kSyslogPath, SOCK_DGRAM, gSyslog, deadline);
        if (datagrams.GetError() == 0)
        {
            auto const make = [&](std::string_view text) { return std::string(head).append(text); };
            if (LocalSocket::IsTooLarge(datagrams.Send(make(event.mText))))
                datagrams.SendCut(event.mText, make);
        }
        else if (datagrams.GetError() == EPROTOTYPE)
        {
            LocalSocket stream(kSyslogPath, SOCK_STREAM, gSyslog, deadline);
            // A zero byte marks its end, as the C library does it.
            if (stream.GetError() == 0)
                stream.Send(std::string(head).append(event.mText).append(1, '\0'));
        }
    }
}
