#include "destination/LossAccount.h"

#include "module/ModuleAccess.h"
#include "module/ModuleMain.h"
#include "module/ThreadContext.h"

#include <QzBase/Conversions.h>
#include <QzBase/CountedPtr.h>
#include <QzLog/MessageHeader.h>

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

    void LossAccount::AddLoss() noexcept
    {
        if (mMissedCount != std::numeric_limits<unsigned int>::max())
            ++mMissedCount;
    }

    void LossAccount::AddFailedAttempt()
    {
        AddLoss();
        mLastAttemptTime = QzDataType::DateTime::Now();
    }

    std::string LossAccount::MakeLine() const
    {
        QzBase::CountedPtr<MessageHeader> const header = GetHeaderOfThread();
        header->SetTimestampToNow();
        header->SetLoggerName("Log");
        header->SetDispatcherName("Error");
        header->SetMessageID(0);

        std::string line(header->GetHeaderText());
        line.append(" Missed ").append(std::to_string(mMissedCount));
        line.append(" messages since ").append(mFirstMissedTime.ToString().c_str());
        line.append(" due to: ").append(mMissReason).append("\r\n");
        return line;
    }

    void LossAccount::Clear() noexcept
    {
        mMissReason.clear();
        mMissedCount = 0;
    }
}
