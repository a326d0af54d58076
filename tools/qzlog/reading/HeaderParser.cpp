#include "reading/HeaderParser.h"

#include "time/LogTime.h"

#include <charconv>

namespace QzLogTool
{
    namespace
    {
        /// Reads time and brackets. Returns their length, 0 when they cannot be read.
        std::size_t Scan(std::string_view line, HeaderFields& fields, std::size_t& timeLength)
        {
            std::int64_t time;
            timeLength = ReadTime(line, time);
            std::size_t const length = timeLength != 0 ? QzLog::ScanHeader(line.substr(timeLength), fields) : 0;
            return length != 0 ? timeLength + length : 0;
        }

        std::string_view TakeLine(std::string_view text)
        {
            return text.substr(0, text.find('\n'));
        }

        /// Takes what is before a word that follows, and moves `text` behind that word. False when there is none.
        bool TakeUpTo(std::string_view& text, std::string_view word, std::string_view& taken)
        {
            std::size_t const at = text.find(word);
            if (at == std::string_view::npos)
                return false;
            taken = text.substr(0, at);
            text.remove_prefix(at + word.size());
            return true;
        }
    }

    HeaderParser::HeaderParser() : mpHeader(QzLog::CreateMessageHeader()) {}

    bool HeaderParser::Parse(std::string_view text)
    {
        mText = text;
        mLength = Scan(TakeLine(text), mFields, mTimeLength);
        for (std::string_view* const pID : {&mFields.mUser, &mFields.mSession, &mFields.mObject})
            if (*pID == "0")
                *pID = std::string_view();
        return mLength != 0;
    }

    QzLog::MessageHeader* HeaderParser::ReadHeader()
    {
        mCopy = mText.substr(0, mLength);
        if (mpHeader->ParseHeaderText(mCopy.c_str()) != mLength)
            return nullptr;
        if (mFields.mUser.empty())
            mpHeader->SetUserID("");
        if (mFields.mSession.empty())
            mpHeader->SetSessionID("");
        if (mFields.mObject.empty())
            mpHeader->SetObjectID("");
        return mpHeader.get();
    }

    std::string_view HeaderParser::GetMessage() const
    {
        std::string_view message = WithoutLineEnd(mText).substr(mLength);
        if (message.starts_with(' '))
            message.remove_prefix(1);
        return message;
    }

    bool BeginsWithWholeHeader(std::string_view text)
    {
        HeaderFields fields;
        std::size_t timeLength;
        return Scan(TakeLine(text), fields, timeLength) != 0 && fields.mUser.data() && fields.mSession.data() &&
               fields.mObject.data();
    }

    bool ReadMissedMessages(HeaderParser const& parser, MissedMessages& missed)
    {
        constexpr std::string_view kMissed = "Missed ";
        HeaderFields const& fields = parser.GetFields();
        std::string_view message = parser.GetMessage();
        if (fields.mLogger != "Log" || fields.mDispatcher != "Error" || !message.starts_with(kMissed))
            return false;
        message.remove_prefix(kMissed.size());
        std::string_view count;
        if (!TakeUpTo(message, " messages since ", count) || !TakeUpTo(message, " due to: ", missed.mSince))
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
