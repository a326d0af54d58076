#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Reports each message to the system's log: to the systemd journal, with the fields MESSAGE, PRIORITY,
    /// SYSLOG_IDENTIFIER (the event source) and EVENT_ID, or, where no journal runs, to the classic syslog socket
    /// (datagrams or a stream). The two top bits of a message ID are its severity: 01 a warning, 10 an error, otherwise
    /// information. The 16 low bits are the event ID. A message of several lines is one event, with LF between the
    /// lines and none at the end.
    ///
    /// Failures of the system's log are silent. If the log stalls, a thread waits for one second at most and drops the
    /// message. Further messages are dropped without a wait until the log takes something again. A message that is too
    /// large for a datagram of syslog is cut at the end of a character, and ends with " [N more bytes]"; the journal
    /// gets large messages whole. No connection is kept between messages, so that the program may close descriptors
    /// that it does not know.
    ///
    /// All operations may be called from any thread at any time, take null as the empty text, and throw std::bad_alloc.
    class QZLOG_API Destination_SystemLog : public virtual Destination
    {
    public:
        ~Destination_SystemLog() override;

        /// Sets the event source, the name that events carry, UTF-8. Each control character becomes "?". The present
        /// name changes nothing.
        /// If no name was set, the first message sets "Tarnwickforge Application".
        virtual void SetEventSource(char const* sourceName) = 0;

        /// Reports one event.
        /// \param text      UTF-8.
        /// \param severity  0 information, 1 warning, 2 error, any other success.
        virtual void ReportEvent(char const* text, unsigned int severity, unsigned short eventID) = 0;
    };

    /// The system log of the process. Throws QzBase::Message while no Initializer is alive.
    QZLOG_API QzBase::ReturnPtrI<Destination_SystemLog> GetDestination_SystemLog();
}
