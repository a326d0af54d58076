#include "destination/Losses.h"

#include "message/MessageHeader_Impl.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "root/ThreadContext.h"

#include <QzBase/Conversions.h>
#include <QzBase/CountedPtr.h>
#include <QzBase/System.h>
#include <QzLog/MessageHeader.h>

namespace QzLog
{
    namespace
    {
        bool BreaksLine(char c) noexcept
        {
            return c == '\r' || c == '\n';
        }

        /// The text with a blank in place of each line end: a reason of several lines would break the line that it
        /// becomes part of.
        std::string Flatten(char const* text)
        {
            std::string flat;
            for (; *text; ++text)
            {
                if (!BreaksLine(*text))
                    flat.push_back(*text);
                else if (!BreaksLine(text[1]))
                    flat.push_back(' ');
            }
            return flat;
        }

        QzBase::CountedPtr<MessageHeader> GetHeaderOfThread()
        {
            ModulePin const module;
            if (module)
                return module->GetThreadContext()->GetMessageHeader();
            // The destination has outlived the module, and still works for those who hold it.
            QzBase::CountedPtr<MessageHeader> header(CreateMessageHeader());
            header->SetHostName(QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), false).c_str());
            header->SetProcessID(QzBase::GetCurrentProcessID());
            header->SetThreadID(static_cast<unsigned int>(QzBase::GetCurrentThreadID()));
            return header;
        }
    }

    std::string MakeReason(QzBase::Message const& failure)
    {
        return Flatten(QzBase::WideCharToUTF8(failure.GetMessage(), true).c_str());
    }

    std::string MakeReasonWithCauses(QzBase::Message const& failure)
    {
        return Flatten(QzBase::FormatMessage(failure, 0).c_str());
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

    std::string MakeMissedMessagesLine(Losses const& losses)
    {
        return MakeMissedMessagesLine(*GetHeaderOfThread(), losses.mCount, losses.mSince, losses.mReason);
    }
}
