#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLogKit/Export.h>
#include <QzLogKit/RateLimit.h>

namespace QzLogKit
{
    /// What a limit is for: each message ID, each source location or each dispatcher has its own count. A message
    /// that has none (no ID, no source location) always passes. A structured message has no source location.
    enum class RateLimitPer
    {
        kMessageID,
        kCallSite,
        kDispatcher
    };

    /// A destination that holds back what exceeds a limit, and reports it in the log. At most 10 messages a minute for
    /// each message ID:
    ///
    ///     dispatcher->SetDestinations(QzLog::CreateDestinationCollection({QzLogKit::CreateDestination_RateLimit(
    ///         *file, {.mMessages = 10, .mPeriod = std::chrono::minutes(1)},
    ///         QzLogKit::RateLimitPer::kMessageID).get()}));
    ///
    /// The target gets one line for each count, before the first message that comes after the period, whatever that one
    /// is, and at the end of the destination, which is the end of the module if the dispatcher holds it until then:
    ///
    ///     Held back 12345 messages of 0x80000304 since 2026-11-18 03:02:07.123-05:00
    ///
    /// ("of Client.cpp:77" or "of Kernel/Error" with the other kinds of limits.) The line has a header of its own, with
    /// the logger and the dispatcher of the first message that was held back, without message ID, identity and source
    /// location. What is held back has not been written: no destination counts it as lost.
    ///
    /// Messages that pass are unchanged and in their order. Periods go by the times of the messages. A clock that is
    /// set back prolongs a period, at most to twice its length. A forked child counts only what it holds back itself.
    /// The IDs of messages with a call stack are those of the target, which is held until the destination ends. If the
    /// target throws at a line, the exception reaches the caller and the count is kept.
    class QZLOGKIT_API Destination_RateLimit : public virtual QzLog::Destination
    {
    public:
        ~Destination_RateLimit() override;

        /// Writes the lines now, and begins new periods where there was something to report. From any thread at any
        /// time, such as a server's timer: a flood that has ended is then reported without waiting for the next
        /// message. Throws what the target throws; what has not been reported is kept.
        virtual void Report() = 0;
    };

    /// Throws std::bad_alloc.
    QZLOGKIT_API QzBase::ReturnPtrI<Destination_RateLimit> CreateDestination_RateLimit(
        QzLog::Destination& target, RateLimit limit, RateLimitPer per);
}
