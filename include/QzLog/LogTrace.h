#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>
#include <QzDataType/DateTime.h>
#include <QzSynch/Locks.h>

namespace QzLog
{
    /// Results of LogTrace::PrintAllLogTrace besides 0, in the form of system result codes.
    inline constexpr long kTraceFileNotOpened = 0x80004003L;
    inline constexpr long kTraceNotWritten = 0x80004005L;

    /// Base of the operation traces: statistics per period, independent of the log, printed to a text file on
    /// demand. Values are reported into the open period. CollectLogTrace closes the period. PrintAllLogTrace
    /// writes the closed periods and removes them. The library calls none of these by itself. Each class says
    /// which operations may run at the same time.
    class QZLOG_API LogTrace
    {
    public:
        LogTrace();
        virtual ~LogTrace();
        LogTrace(LogTrace const&) = delete;
        LogTrace& operator=(LogTrace const&) = delete;

        /// Closes the open period and starts the next one. Does nothing here.
        virtual void CollectLogTrace();

        /// Writes the closed periods to the file `mFileName`, replacing its content.
        /// \return 0; kTraceFileNotOpened if the file cannot be opened, or its name is empty or not ASCII;
        ///         kTraceNotWritten if it could not be written completely. Throws nothing. Returns 0 here.
        virtual long PrintAllLogTrace();

        /// Removes all figures. Does nothing here.
        virtual void Clear();

        /// Sets `mFileName` (UTF-16); null sets the empty name. Not while another thread prints.
        void SetFileName(unsigned short const* fileName);

        /// When the object was constructed, in local time.
        QzDataType::DateTime const mStartTime;

    protected:
        /// Updates hold it shared, CollectLogTrace holds it exclusively. Held around a fork.
        QzSynch::RWLockPtr const mpLock;

    public:
        /// The file that PrintAllLogTrace writes, with `\` or `/`, absolute or relative to the current directory.
        /// It has to be ASCII. Empty at first. Set it, directly or by SetFileName, before the first call of
        /// PrintAllLogTrace.
        QzBase::WideString mFileName;
    };
}
