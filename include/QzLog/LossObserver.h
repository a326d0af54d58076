#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>
#include <QzDataType/DateTime.h>

#include <cstdint>

namespace QzLog
{
    /// Messages that one log file has lost one after the other for the same reason. The texts are valid during the call
    /// that gets this.
    struct LossRun
    {
        /// UTF-16, of the log file.
        unsigned short const* mpPath;
        /// The messages lost up to now.
        std::uint64_t mCount;
        /// When the first of them was lost.
        QzDataType::DateTime mSince;
        /// UTF-8, one line.
        char const* mpReason;
    };

    /// Is notified of the losses of a disk file at once, to raise an alarm for instance: the log reports them only
    /// when it works again. One object may observe several files; see Destination_DiskFile::SetLossObserver. A class
    /// that implements it derives from QzSynch::Counted<LossObserver>.
    ///
    /// The operations are called without any lock, on the thread whose message was lost or written, before its logging
    /// call returns. So calls of several threads can overlap, and can be in another order than the losses. They may
    /// log, also to the same file. An exception reaches the caller of the log function after all notices of that call
    /// were given; of several, the first. One at the end of a destination or of the module reaches nobody.
    class QZLOG_API LossObserver : public virtual QzBase::ReferenceCounted
    {
    public:
        ~LossObserver() override;

        /// A first message was lost.
        virtual void OnLossesBegan(LossRun const& run) = 0;

        /// The log now has a line about the run, and takes messages again.
        virtual void OnLossesReported(LossRun const& run) = 0;
    };

    /// An observer that sends the beginning of each run to the system log, as one line with path and reason: an error
    /// with the event ID 0, under the event source of GetDestination_SystemLog. Does nothing once the module has ended.
    QZLOG_API QzBase::ReturnPtrI<LossObserver> CreateSystemLogLossObserver();
}
