#include "filter/RecordFilter.h"

#include "Trouble.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        // How much of the end of one part of a long record is looked at together with the start of the next.
        constexpr std::size_t kOverlap = 4096;

        bool Contains(std::string_view text, std::string const& part)
        {
            return memmem(text.data(), text.size(), part.data(), part.size()) != nullptr;
        }

        std::vector<std::string> Embrace(
            std::string const& before, std::vector<std::string> const& values, std::string const& after)
        {
            std::vector<std::string> result;
            for (std::string const& value : values)
                result.push_back(before + value + after);
            return result;
        }

        std::vector<std::string> ToTexts(std::vector<std::uint32_t> const& values, char const* form)
        {
            std::vector<std::string> result;
            for (std::uint32_t const value : values)
            {
                char text[16];
                std::snprintf(text, sizeof text, form, value);
                result.emplace_back(text);
            }
            return result;
        }

        /// The text form of a header has a zero in place of no ID.
        std::vector<std::string> WithZeros(std::vector<std::string> values)
        {
            std::replace(values.begin(), values.end(), std::string(), std::string("0"));
            return values;
        }

        /// Without values there is no condition.
        template <class Value, class Field>
        bool IsOneOf(std::vector<Value> const& values, Field const& field)
        {
            return values.empty() || std::find(values.begin(), values.end(), field) != values.end();
        }

        bool IsOneOfIDs(std::vector<std::string> const& values, std::string const& id)
        {
            return IsOneOf(values, id) || (id.empty() && IsOneOf(values, "0"));
        }
    }

    RecordFilter::RecordFilter(FilterOptions options)
        : mOptions(std::move(options)), mMatcher(mOptions.mTexts, mOptions.mExpressions, mOptions.mIgnoresCase)
    {
        AddConditions();
        ChooseNeedle();
    }

    void RecordFilter::AddConditions()
    {
        // Those first that tend to be the rarest.
        mConditions = {Embrace("][0x", ToTexts(mOptions.mMessageIDs, "%08X"), "]"),
            Embrace("[OID:", WithZeros(mOptions.mObjects), "]"), Embrace("[SID:", WithZeros(mOptions.mSessions), "]"),
            Embrace("[UID:", WithZeros(mOptions.mUsers), "]"),
            Embrace("][THR:", ToTexts(mOptions.mThreads, "%u"), "]["),
            Embrace("][PID:", ToTexts(mOptions.mProcesses, "%u"), "][THR:"), Embrace("][", mOptions.mLoggers, "]["),
            Embrace("][", mOptions.mDispatchers, "]"), Embrace("][SERVER:", mOptions.mServers, "][PID:"),
            Embrace(" [HOST:", mOptions.mHosts, "][SERVER:")};
        // A message without an ID has no bracket for it.
        if (IsOneOf(mOptions.mMessageIDs, 0U))
            mConditions.front().clear();
        std::erase_if(mConditions, [](Alternatives const& values) { return values.empty(); });
    }

    void RecordFilter::ChooseNeedle()
    {
        if (mOptions.mIsInverted)
            return;
        if (std::string const* const text = mMatcher.GetOnlyText(); text && !text->empty())
            mNeedle = *text;
        else
            for (Alternatives const& values : mConditions)
                if (mNeedle.empty() && values.size() == 1)
                    mNeedle = values[0];
    }

    bool RecordFilter::IsWanted(Record const& record, RecordSource& source)
    {
        return IsInTime(record.mTime) && Matches(record, source) != mOptions.mIsInverted;
    }

    bool RecordFilter::Matches(Record const& record, RecordSource& source)
    {
        std::string_view const line = record.mText.substr(0, record.mText.find('\n'));
        bool const isMessage = record.mKind == Record::Kind::Message;
        bool const isOneLine = record.mIsWhole && line.size() + 1 >= record.mText.size();
        if (!MayHaveFields(line) || (isOneLine && !mMatcher.MayMatch(WithoutLineEnd(record.mText))))
            return false;
        bool const asksFields = !mConditions.empty() || !mOptions.mMessageIDs.empty();
        if (!asksFields && mMatcher.IsEmpty())
            return true;
        bool const hasHeader = isMessage && mParser.Parse(record.mText);
        if (asksFields && (!hasHeader || !HasFields()))
            return false;
        return MatchesText(record, hasHeader ? mParser.GetMessage(record.mText) : WithoutLineEnd(record.mText), source);
    }

    /// Whether the first line of a record holds what the conditions on the header ask for.
    bool RecordFilter::MayHaveFields(std::string_view line) const
    {
        return std::all_of(mConditions.begin(), mConditions.end(),
            [line](Alternatives const& values)
            {
                return std::any_of(
                    values.begin(), values.end(), [line](std::string const& value) { return Contains(line, value); });
            });
    }

    /// Whether the header that was read meets the conditions.
    bool RecordFilter::HasFields()
    {
        QzLog::MessageHeader& header = mParser.GetHeader();
        return IsOneOf(mOptions.mMessageIDs, header.GetMessageID()) &&
               IsOneOfIDs(mOptions.mObjects, header.GetObjectID()) &&
               IsOneOfIDs(mOptions.mSessions, header.GetSessionID()) &&
               IsOneOfIDs(mOptions.mUsers, header.GetUserID()) && IsOneOf(mOptions.mThreads, header.GetThreadID()) &&
               IsOneOf(mOptions.mProcesses, header.GetProcessID()) &&
               IsOneOf(mOptions.mLoggers, header.GetLoggerName()) &&
               IsOneOf(mOptions.mDispatchers, header.GetDispatcherName()) &&
               IsOneOf(mOptions.mServers, header.GetServerName()) && IsOneOf(mOptions.mHosts, header.GetHostName());
    }

    bool RecordFilter::MatchesText(Record const& record, std::string_view message, RecordSource& source) const
    {
        bool matches = mMatcher.Matches(message);
        if (record.mIsWhole || mMatcher.IsEmpty())
            return matches;
        std::string seam(message.substr(message.size() - std::min(message.size(), kOverlap)));
        std::string_view part;
        while (!matches && source.NextPart(part))
        {
            seam += part.substr(0, kOverlap);
            matches = mMatcher.Matches(seam) || mMatcher.Matches(part);
            seam = part.substr(part.size() - std::min(part.size(), kOverlap));
        }
        return matches;
    }
}
