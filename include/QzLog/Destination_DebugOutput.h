#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Writes to the debug output, which is the standard error of the process: one message at a time, so that the lines
    /// of different threads do not mix, and with one write if the system takes all of it. Other processes on the same
    /// pipe or terminal may come between the parts of a message above 4,096 bytes. What is no UTF-8 comes out as
    /// U+FFFD.
    ///
    /// It never fails, and a reader that has gone away does no harm. A reader that stands still (a full pipe or socket,
    /// a stopped terminal) holds a thread for one second at most, whether or not standard error blocks; then the
    /// message is given up. Until the reader takes something again, further messages are dropped without a wait. A
    /// message that was given up midway ends where the reader stopped, and a line end comes before the next. A regular
    /// file is written without a limit. If the process may not open its own standard error again (no /proc, other
    /// rights than when it was opened), another process that fills the last room of a blocking pipe at the same moment
    /// can make a write wait.
    ///
    /// All operations may be called from any thread at any time, take null as the empty text, and throw std::bad_alloc.
    class QZLOG_API Destination_DebugOutput : public virtual Destination
    {
    public:
        ~Destination_DebugOutput() override;

        /// Writes a text, UTF-8, without a header; CR LF follows unless it ends in LF.
        virtual void WriteString(char const* text) = 0;
    };

    /// The debug output of the process. Throws QzBase::Message when the module does not live.
    QZLOG_API QzBase::ReturnPtrI<Destination_DebugOutput> GetDestination_DebugOutput();
}
