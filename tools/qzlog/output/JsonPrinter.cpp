#include "output/JsonPrinter.h"

#include "Characters.h"
#include "output/JsonMessage.h"
#include "output/Lines.h"
#include "time/Moments.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        /// As the library writes a number, and one that it reads back as the same.
        bool IsUsualNumber(std::string_view digits)
        {
            constexpr std::size_t kMost = 9; // more can be too large
            bool const isNumber = std::all_of(digits.begin(), digits.end(), IsDigit);
            return isNumber && !digits.empty() && digits.size() <= kMost && (digits.size() == 1 || digits[0] != '0');
        }

        /// Nothing, or eight digits that are not all 0.
        bool IsUsualMessageID(std::string_view digits)
        {
            auto const isUpperHex = [](char c) { return IsDigit(c) || (c >= 'A' && c <= 'F'); };
            bool const isNumber = std::all_of(digits.begin(), digits.end(), isUpperHex);
            return digits.empty() || (isNumber && digits.size() == 8 && digits != "00000000");
        }

        /// With milliseconds and, unless it is UTC, the distance from UTC.
        bool IsUsualTime(std::string_view time)
        {
            constexpr std::size_t kShort = 23;
            constexpr std::size_t kLong = 29;
            return time[10] == ' ' && (time.size() == kShort || (time.size() == kLong && !time.ends_with("00:00"))) &&
                   time[19] == '.' && time.find_first_not_of("0123456789", 20) >= kShort;
        }
    }

    void JsonPrinter::Print(Record const& record, RecordSource& source)
    {
        std::string_view text = record.mText;
        mJson.assign(1, '{'); // of a literal, at -O3, g++ 12 warns without a reason
        if (record.mKind == Record::Kind::Message && mParser.Parse(text) && AppendHeader(record.mTime))
        {
            text.remove_prefix(mParser.GetLength());
            if (text.starts_with(' '))
                text.remove_prefix(1);
        }
        if (!record.mIsWanted)
            mJson += "\"context\":true,";
        mJson += "\"message\":\"";
        AppendMessage(mJson, text, source, mOutput);
        mJson += "\"}\n";
        mOutput.Write(mJson);
    }

    /// False when the library cannot read it.
    bool JsonPrinter::AppendHeader(std::int64_t moment)
    {
        if (AppendUsualHeader(moment))
            return true;
        QzLog::MessageHeader* const pHeader = mParser.ReadHeader();
        if (!pHeader)
            return false;
        if (mUsesUTC)
            pHeader->SetTimestampString(FormatMoment(moment).c_str());
        constexpr std::string_view kEnd = "}\n";
        mJson = pHeader->GetHeaderJSON();
        mJson.replace(mJson.size() - kEnd.size(), kEnd.size(), ",");
        // The only control character that those who make JSON leave as it is gets spelt out too.
        for (std::size_t at = 0; (at = mJson.find('\x7F', at)) != std::string::npos;)
            mJson.replace(at, 1, "\\u007f");
        return true;
    }

    /// Writes what the library would make of a header in which nothing needs to be escaped or put in another form.
    bool JsonPrinter::AppendUsualHeader(std::int64_t moment)
    {
        HeaderFields const& fields = mParser.GetFields();
        std::string_view const header = mParser.GetHeader();
        std::string_view const time = header.substr(0, mParser.GetTimeLength());
        bool const isUsual = IsPlainInJson(header) && IsUsualTime(time) && IsUsualNumber(fields.mProcess) &&
                             IsUsualNumber(fields.mThread) && IsUsualMessageID(fields.mMessageID);
        if (!isUsual)
            return false;
        auto const append = [this](std::string_view key, std::string_view value)
        { ((mJson += key) += value) += "\","; };
        auto const appendIfAny = [&append](std::string_view key, std::string_view value)
        {
            if (!value.empty())
                append(key, value);
        };
        append("\"dispatcher\":\"", fields.mDispatcher);
        append("\"host\":\"", fields.mHost);
        append("\"logger\":\"", fields.mLogger);
        appendIfAny("\"message_id\":\"0x", fields.mMessageID);
        appendIfAny("\"oid\":\"", fields.mObject);
        append("\"pid\":\"", fields.mProcess);
        append("\"server\":\"", fields.mServer);
        appendIfAny("\"sid\":\"", fields.mSession);
        append("\"thr\":\"", fields.mThread);
        append("\"time\":\"", mUsesUTC ? std::string_view(FormatMoment(moment)) : time);
        appendIfAny("\"uid\":\"", fields.mUser);
        return true;
    }
}
