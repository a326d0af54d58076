#pragma once

#include <QzBase/Message.h>
#include <QzDataType/DateTime.h>

#include <cstdint>
#include <string>

namespace QzLog
{
    class MessageHeader;

    /// The line that tells a log about lost messages: UTF-8 with CR LF, behind the text of `header`, which it stamps
    /// with the present time and with names of its own.
    /// \param reason  one line, UTF-8.
    std::string MakeMissedMessagesLine(
        MessageHeader& header, std::uint64_t count, QzDataType::DateTime const& since, std::string const& reason);

    /// What a disk file has lost: how many messages, since when and why, and when its file may be tried again. Used by
    /// one thread at a time.
    class LossAccount
    {
    public:
        /// A failure that begins a new count; an earlier one is forgotten.
        /// \param lostCount  the messages that went with it.
        void Begin(QzBase::Message const& failure, unsigned int lostCount);

        /// Whether the last failure or failed attempt is as old as it has to be. True at first.
        bool IsRetryDue() const;

        /// More messages were lost; their reason stays that of the first.
        void AddLosses(unsigned int count) noexcept;

        /// The same, by an attempt that failed: the interval begins anew.
        void AddFailedAttempt(unsigned int count);

        /// For a forked child: the parent reports what was lost up to now. Time and reason of the failure stay.
        void ForgetCount() noexcept { mMissedCount = 0; }

        bool HasLosses() const noexcept { return mMissedCount != 0; }

        /// What the log is told about the losses: a missed-messages line with the header of the calling thread.
        std::string MakeLine() const;

        /// The losses are told. The times stay, so that the next failure within the interval still waits.
        void Clear() noexcept;

    private:
        QzDataType::DateTime mFirstMissedTime{0.0};
        QzDataType::DateTime mLastAttemptTime{0.0};
        std::string mMissReason;
        unsigned int mMissedCount = 0;
    };
}
