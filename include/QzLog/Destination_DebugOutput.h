#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Writes to the debug output, which is the standard error of the process: each message with one system call, so
    /// that the lines of different threads do not mix. What is no UTF-8 comes out as U+FFFD. It never fails, and a
    /// reader that has gone away does no harm. All operations may be called from any thread at any time, take null as
    /// the empty text, and throw std::bad_alloc.
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
