#pragma once

#include "os/posix/Receiver.h"

#include <string>
#include <string_view>

// The receivers of events. Neither keeps a descriptor between two events: a program that closes all it does not know,
// as a daemon does, would close ours, and what it opens next would get our events. Both throw only std::bad_alloc.

namespace QzOs::Posix
{
    struct Event
    {
        std::string const& mSource;
        /// As in syslog.
        int mPriority;
        unsigned int mID;
        /// UTF-8, with LF between its lines.
        std::string_view mText;
    };

    /// False when no journal runs. True also when the journal has not taken the event before the deadline.
    bool SendToJournal(Event const& event, MessageDeadline& deadline);

    void SendToSyslog(Event const& event, MessageDeadline& deadline);
}
