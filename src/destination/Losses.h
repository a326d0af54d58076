#pragma once

#include <QzBase/Message.h>
#include <QzDataType/DateTime.h>

#include <cstdint>
#include <string>

namespace QzLog
{
    class MessageHeader;

    /// A number of lost messages, and what the log reports about them.
    struct Losses
    {
        std::uint64_t mCount = 0;
        /// When the first one was lost.
        QzDataType::DateTime mSince{0.0};
        /// UTF-8, one line.
        std::string mReason;
        /// Whether an observer knows of them.
        bool mIsAnnounced = false;
    };

    /// The text of a failure as a reason: UTF-8 in one line.
    std::string MakeReason(QzBase::Message const& failure);

    /// The same with the causes below the failure, such as the system's description of the error.
    std::string MakeReasonWithCauses(QzBase::Message const& failure);

    /// The line that reports lost messages in a log: UTF-8 with CR LF, after the text of `header`, which it stamps
    /// with the present time and its own logger and dispatcher.
    /// \param reason  one line, UTF-8.
    std::string MakeMissedMessagesLine(
        MessageHeader& header, std::uint64_t count, QzDataType::DateTime const& since, std::string const& reason);

    /// The same with the header of the calling thread.
    std::string MakeMissedMessagesLine(Losses const& losses);
}
