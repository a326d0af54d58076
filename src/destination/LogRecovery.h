#pragma once

#include "destination/Losses.h"

#include <string_view>

namespace QzLog
{
    class LossNotices;

    /// How a destination writes to its log file, and what it does when that fails. Used by the thread that has the
    /// destination's section.
    class LogRecovery
    {
    public:
        virtual ~LogRecovery() = default;

        /// The destination has gone over to a path, whose file is to be opened or made with its directory. A failure
        /// is no loss yet.
        virtual void Start() = 0;

        /// Writes a record that stands for a number of messages. False: they are lost, and have been counted.
        virtual bool Write(std::string_view record, unsigned int messages, LossNotices& notices) = 0;

        /// The destination is about to be destroyed.
        virtual void End(LossNotices& notices) = 0;

        /// For a forked child: the parent tells in the log what was lost up to now.
        virtual void ForgetLosses() noexcept = 0;

        /// For a change of the recovery: one gives up what it has not reported, and the other goes on with it.
        virtual Losses TakeLosses() = 0;
        virtual void PutLosses(Losses&& losses) = 0;
    };
}
