#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>
#include <QzDataType/DateTime.h>
#include <QzSynch/Locks.h>

#include <memory>

namespace QzSynch
{
    class ForkHold;
}

namespace QzLog
{
    /// Results of LogTrace::PrintAllLogTrace besides 0, in the manner of system result codes.
    inline constexpr long kTraceFileNotOpened = 0x80004003L;
    inline constexpr long kTraceNotWritten = 0x80004005L;

    /// Base of the operation traces: figures that are counted per period beside the log, and printed to a
    /// text file on demand. The library never reports, collects or prints by itself. Values are reported
    /// into the open period, CollectLogTrace closes it, PrintAllLogTrace writes the closed periods and
    /// forgets them. Each class says which operations may run at the same time.
    class QZLOG_API LogTrace
    {
    public:
        LogTrace();
        virtual ~LogTrace();
        LogTrace(LogTrace const&) = delete;
        LogTrace& operator=(LogTrace const&) = delete;

        /// Closes the open period and starts the next one. Does nothing here.
        virtual void CollectLogTrace();

        /// Writes the closed periods to the file `mFileName`, in place of what the file held.
        /// \return 0; kTraceFileNotOpened when the file cannot be opened, also when the name is empty or
        ///         not ASCII; kTraceNotWritten when it could not be written to its end. Throws nothing. Returns 0 here.
        virtual long PrintAllLogTrace();

        /// Forgets all figures. Does nothing here.
        virtual void Clear();

        /// Sets `mFileName` (UTF-16); null sets the empty name. Not while another thread prints.
        void SetFileName(unsigned short const* fileName);

        /// When the object was made, in local time.
        QzDataType::DateTime const mStartTime;

    protected:
        /// Updates hold it shared, CollectLogTrace holds it exclusively.
        QzSynch::RWLockPtr const mpLock;

    public:
        /// The file that PrintAllLogTrace writes, with `\` or `/`, relative to the current directory or
        /// absolute. It has to be ASCII. Empty at first. To be set, directly or by SetFileName, before
        /// the first print.
        QzBase::WideString mFileName;

    private:
        /// So that a forked child does not inherit the lock from a thread that only its parent has.
        std::unique_ptr<QzSynch::ForkHold> const mpForkHold;
    };
}
