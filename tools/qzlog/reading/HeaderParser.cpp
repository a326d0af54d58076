#include "reading/HeaderParser.h"

#include <charconv>

namespace QzLogTool
{
    namespace
    {
        // Longer than any header that was not made on purpose.
        constexpr std::size_t kUsualLength = 2048;

        /// Moves `text` behind what it begins with, if it does.
        bool Skip(std::string_view& text, std::string_view what)
        {
            if (!text.starts_with(what))
                return false;
            text.remove_prefix(what.size());
            return true;
        }

        bool TakeUpTo(std::string_view& text, std::string_view end, std::string_view& taken)
        {
            std::size_t const at = text.find(end);
            if (at == std::string_view::npos)
                return false;
            taken = text.substr(0, at);
            text.remove_prefix(at + end.size());
            return true;
        }
    }

    HeaderParser::HeaderParser() : mpHeader(QzLog::CreateMessageHeader()) {}

    bool HeaderParser::Parse(std::string_view text)
    {
        std::string_view const start = text.substr(0, kUsualLength);
        if (std::size_t const lineEnd = start.find('\n'); lineEnd != std::string_view::npos)
            return ParseLine(start.substr(0, lineEnd));
        // The parser looks for each bracket through to the end: it is not shown a message of megabytes unless it must.
        return ParseLine(start) || (start.size() < text.size() && ParseLine(text.substr(0, text.find('\n'))));
    }

    bool HeaderParser::ParseLine(std::string_view line)
    {
        mLine = line;
        unsigned int const length = mpHeader->ParseHeaderText(mLine.c_str());
        if (length == 0)
            return false;
        mLength = length;
        // In the text a zero stands for no ID.
        constexpr std::string_view kNone = "0";
        if (mpHeader->GetUserID() == kNone)
            mpHeader->SetUserID("");
        if (mpHeader->GetSessionID() == kNone)
            mpHeader->SetSessionID("");
        if (mpHeader->GetObjectID() == kNone)
            mpHeader->SetObjectID("");
        return true;
    }

    std::string_view HeaderParser::GetMessage(std::string_view text) const
    {
        std::string_view message = WithoutLineEnd(text).substr(mLength);
        Skip(message, " ");
        return message;
    }

    bool ReadMissedMessages(QzLog::MessageHeader& header, std::string_view message, MissedMessages& missed)
    {
        std::string_view count;
        bool const isRead = std::string_view("Log") == header.GetLoggerName() &&
                            std::string_view("Error") == header.GetDispatcherName() && Skip(message, "Missed ") &&
                            TakeUpTo(message, " messages since ", count) &&
                            TakeUpTo(message, " due to: ", missed.mSince);
        if (!isRead)
            return false;
        char const* const end = count.data() + count.size();
        auto const [stop, error] = std::from_chars(count.data(), end, missed.mCount);
        missed.mReason = message.substr(0, message.find_first_of("\r\n"));
        return error == std::errc() && stop == end;
    }

    std::string_view WithoutLineEnd(std::string_view text)
    {
        if (text.ends_with('\n'))
            text.remove_suffix(1);
        if (text.ends_with('\r'))
            text.remove_suffix(1);
        return text;
    }
}
