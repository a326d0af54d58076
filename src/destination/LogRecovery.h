#pragma once

#include "destination/Losses.h"

#include <string_view>

namespace QzLog
{
    class LossNotices;

    /// How a destination writes to its log file, and what it does if that fails. Used by the thread that holds the
    /// destination's section.
    class LogRecovery
    {
    public:
        virtual ~LogRecovery() = default;

        /// Called when the destination has changed to a path. Opens the file there, or creates it with its directory. A
        /// failure is no loss yet.
        virtual void Start() = 0;

        /// Writes a record that contains a number of messages. False: they are lost, and have been counted.
        virtual bool Write(std::string_view record, unsigned int messages, LossNotices& notices) = 0;

        /// The last chance to report losses: see Destination_DiskFile_Impl::EndReports. More can follow.
        virtual void End(LossNotices& notices) = 0;

        /// For a forked child: the parent reports what was lost up to now. If the log is open, the child gets an open
        /// file of its own. Throws QzBase::Message and std::bad_alloc if it cannot; the next message tries again.
        virtual void GoOnInForkedChild() = 0;

        /// For a change of the recovery: one hands over its unreported losses, and the other takes them.
        virtual Losses TakeLosses() = 0;
        virtual void PutLosses(Losses&& losses) = 0;
    };
}
