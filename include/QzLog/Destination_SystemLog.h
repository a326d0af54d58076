#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Reports each message to the system's log: to the systemd journal with the fields MESSAGE, PRIORITY,
    /// SYSLOG_IDENTIFIER (the event source) and EVENT_ID, or to the classic syslog socket, of datagrams or a stream,
    /// where no journal runs. The two top bits of a message's ID are its severity: 01 a warning, 10 an error, else
    /// information; the 16 low bits are the event ID. A message of several lines is one event, with LF between the
    /// lines and none at the end.
    ///
    /// Failures of the system's log are silent. A log that stands still holds a thread for one second at most; then the
    /// message is dropped, and further ones without a wait until the log takes something again. A message that is too
    /// large for a datagram of syslog is cut at the end of a character, and ends with " [N more bytes]"; the journal
    /// gets large ones whole. No connection is kept between two messages, so that the program may close descriptors
    /// that it does not know.
    ///
    /// All operations may be called from any thread at any time, take null as the empty text, and throw std::bad_alloc.
    class QZLOG_API Destination_SystemLog : public virtual Destination
    {
    public:
        ~Destination_SystemLog() override;

        /// Sets the event source, the name that the events carry; UTF-8, with "?" for each control character. The
        /// present name changes nothing.
        /// Without a name the first message takes "Tarnwickforge Application".
        virtual void SetEventSource(char const* sourceName) = 0;

        /// Reports one event.
        /// \param text      UTF-8.
        /// \param severity  0 information, 1 warning, 2 error, any other success.
        virtual void ReportEvent(char const* text, unsigned int severity, unsigned short eventID) = 0;
    };

    /// The system log of the process. Throws QzBase::Message when the module does not live.
    QZLOG_API QzBase::ReturnPtrI<Destination_SystemLog> GetDestination_SystemLog();
}
