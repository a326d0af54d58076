#include "reading/HeaderParser.h"

#include "reading/RecordStart.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace QzLogTool
{
    namespace
    {
        // More than a source location, the last bracket, can have.
        constexpr std::size_t kLongestLocation = 1024;

        // Literals of a length that the compiler knows: their comparison takes most of the time otherwise.

        /// Moves `text` behind what it begins with, if it does.
        template <std::size_t Size>
        bool Skip(std::string_view& text, char const (&what)[Size])
        {
            constexpr std::size_t kLength = Size - 1;
            if (text.size() < kLength || std::memcmp(text.data(), what, kLength) != 0)
                return false;
            text.remove_prefix(kLength);
            return true;
        }

        /// Moves `text` behind the first `end` and takes what is before it. False when there is none.
        template <std::size_t Size>
        bool TakeUpTo(std::string_view& text, char const (&end)[Size], std::string_view& taken)
        {
            constexpr std::size_t kLength = Size - 1;
            std::string_view const whole = text;
            for (std::size_t at = 0; (at = text.find(end[0])) != std::string_view::npos;)
            {
                text.remove_prefix(at);
                if (Skip(text, end))
                {
                    taken = whole.substr(0, whole.size() - text.size() - kLength);
                    return true;
                }
                text.remove_prefix(1);
            }
            return false;
        }

        /// A bracket that may be absent. False only when it is there and does not end.
        template <std::size_t Size>
        bool TakeOptional(std::string_view& text, char const (&opening)[Size], std::string_view& taken)
        {
            taken = std::string_view();
            return !Skip(text, opening) || TakeUpTo(text, "]", taken);
        }

        template <std::size_t Size>
        bool TakeID(std::string_view& text, char const (&opening)[Size], std::string_view& taken)
        {
            bool const isRead = TakeOptional(text, opening, taken);
            if (taken == "0")
                taken = std::string_view();
            return isRead;
        }

        /// Moves `text` behind the time and the names.
        bool TakeNames(std::string_view& text, HeaderFields& fields)
        {
            std::int64_t time;
            std::size_t const timeLength = ReadTime(text, time);
            text.remove_prefix(timeLength);
            return timeLength != 0 && Skip(text, " [HOST:") && TakeUpTo(text, "][SERVER:", fields.mHost) &&
                   TakeUpTo(text, "][PID:", fields.mServer) && TakeUpTo(text, "][THR:", fields.mProcess) &&
                   TakeUpTo(text, "][", fields.mThread) && TakeUpTo(text, "][", fields.mLogger) &&
                   TakeUpTo(text, "]", fields.mDispatcher);
        }

        /// Moves `text` behind the time and the brackets up to the object ID, of which the last four may be absent.
        bool TakeFields(std::string_view& text, HeaderFields& fields)
        {
            return TakeNames(text, fields) && TakeOptional(text, "[0x", fields.mMessageID) &&
                   TakeID(text, "[UID:", fields.mUser) && TakeID(text, "[SID:", fields.mSession) &&
                   TakeID(text, "[OID:", fields.mObject);
        }
    }

    HeaderParser::HeaderParser() : mpHeader(QzLog::CreateMessageHeader()) {}

    bool HeaderParser::Parse(std::string_view text)
    {
        mText = text;
        std::string_view const line = text.substr(0, text.find('\n'));
        std::string_view rest = line;
        if (!TakeFields(rest, mFields))
            return false;
        mLength = line.size() - rest.size();
        // A source location, or a message that looks like one: that is for the library to tell.
        if (rest.starts_with('['))
            mLength = ParseByLibrary();
        return mLength != 0;
    }

    std::size_t HeaderParser::ParseByLibrary()
    {
        mCopy = mText.substr(0, std::min(mText.find('\n'), mLength + kLongestLocation));
        return mpHeader->ParseHeaderText(mCopy.c_str());
    }

    QzLog::MessageHeader* HeaderParser::ReadHeader()
    {
        if (ParseByLibrary() != mLength)
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
        Skip(message, " ");
        return message;
    }

    bool BeginsWithWholeHeader(std::string_view text)
    {
        text = text.substr(0, text.find('\n'));
        HeaderFields fields;
        return TakeNames(text, fields) && TakeOptional(text, "[0x", fields.mMessageID) && Skip(text, "[UID:") &&
               TakeUpTo(text, "][SID:", fields.mUser) && TakeUpTo(text, "][OID:", fields.mSession) &&
               TakeUpTo(text, "]", fields.mObject);
    }

    bool ReadMissedMessages(HeaderParser const& parser, MissedMessages& missed)
    {
        HeaderFields const& fields = parser.GetFields();
        std::string_view message = parser.GetMessage();
        std::string_view count;
        bool const isRead = fields.mLogger == "Log" && fields.mDispatcher == "Error" && Skip(message, "Missed ") &&
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
