#include "destination/LossAccount.h"

#include "message/MessageHeader_Impl.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "root/ThreadContext.h"

#include <QzBase/Conversions.h>
#include <QzBase/CountedPtr.h>
#include <QzLog/MessageHeader.h>

#include <algorithm>
#include <limits>

namespace QzLog
{
    namespace
    {
        constexpr int kRetryIntervalSeconds = 300;

        bool IsLineEnd(char c) noexcept
        {
            return c == '\r' || c == '\n';
        }

        /// The text with a blank in place of each line end: a reason of several lines would break the one line that
        /// it becomes part of.
        std::string Flatten(char const* text)
        {
            std::string flat;
            for (; *text; ++text)
            {
                if (!IsLineEnd(*text))
                    flat.push_back(*text);
                else if (!IsLineEnd(text[1]))
                    flat.push_back(' ');
            }
            return flat;
        }

        QzBase::CountedPtr<MessageHeader> GetHeaderOfThread()
        {
            ModulePin const module;
            if (module)
                return module->GetThreadContext()->GetMessageHeader();
            // The destination has outlived the module, and goes on for those who hold it.
            return CreateMessageHeader();
        }
    }

    std::string MakeMissedMessagesLine(
        MessageHeader& header, std::uint64_t count, QzDataType::DateTime const& since, std::string const& reason)
    {
        header.SetTimestampToNow();
        header.SetLoggerName("Log");
        header.SetDispatcherName("Error");
        header.SetMessageID(0);

        std::string line(header.GetHeaderText());
        line.append(" Missed ").append(std::to_string(count));
        line.append(" messages since ").append(since.ToString().c_str());
        line.append(" due to: ").append(reason).append("\r\n");
        return line;
    }

    void LossAccount::Begin(QzBase::Message const& failure, unsigned int lostCount)
    {
        std::string reason = Flatten(QzBase::WideCharToUTF8(failure.GetMessage(), true).c_str());
        mFirstMissedTime = QzDataType::DateTime::Now();
        mLastAttemptTime = mFirstMissedTime;
        mMissReason.swap(reason);
        mMissedCount = lostCount;
    }

    bool LossAccount::IsRetryDue() const
    {
        return (QzDataType::DateTime::Now() - mLastAttemptTime).GetTotalSeconds() >= kRetryIntervalSeconds;
    }

    void LossAccount::AddLosses(unsigned int count) noexcept
    {
        mMissedCount += std::min(count, std::numeric_limits<unsigned int>::max() - mMissedCount);
    }

    void LossAccount::AddFailedAttempt(unsigned int count)
    {
        AddLosses(count);
        mLastAttemptTime = QzDataType::DateTime::Now();
    }

    std::string LossAccount::MakeLine() const
    {
        return MakeMissedMessagesLine(*GetHeaderOfThread(), mMissedCount, mFirstMissedTime, mMissReason);
    }

    void LossAccount::Clear() noexcept
    {
        mMissReason.clear();
        mMissedCount = 0;
    }
}
