#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Writes to the debug output, which is the standard error of the process. It writes one message at a time, so the
    /// lines of different threads do not mix, with one system call if the system takes all of it. If a message has more
    /// than 4,096 bytes, output of other processes on the same pipe or terminal may come between its parts. Malformed
    /// UTF-8 is written as U+FFFD.
    ///
    /// It never fails; if the reader is gone, the message is dropped. If the reader stalls (a full pipe or socket, a
    /// stopped terminal), a thread waits for one second at most, whether or not standard error blocks, and drops its
    /// message. Further messages are dropped without a wait until the reader reads again. A message that was written in
    /// part ends there, and a line end is written before the next one. Writes to a regular file have no time limit.
    ///
    /// If the process may not open its own standard error again (no /proc, or other permissions than when it was
    /// opened), a write to a blocking pipe can wait if another process fills the pipe at the same moment.
    ///
    /// All operations may be called from any thread at any time, take null as the empty text, and throw std::bad_alloc.
    class QZLOG_API Destination_DebugOutput : public virtual Destination
    {
    public:
        ~Destination_DebugOutput() override;

        /// Writes a text, UTF-8, without a header; CR LF follows unless it ends in LF.
        virtual void WriteString(char const* text) = 0;
    };

    /// The debug output of the process. Throws QzBase::Message while no Initializer is alive.
    QZLOG_API QzBase::ReturnPtrI<Destination_DebugOutput> GetDestination_DebugOutput();
}
