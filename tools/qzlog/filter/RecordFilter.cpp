#include "filter/RecordFilter.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        // How much of the end of one part of a long record is looked at together with the start of the next.
        constexpr std::size_t kOverlap = 4096;
    }

    RecordFilter::RecordFilter(FilterOptions options)
        : mOptions(std::move(options)), mMatcher(mOptions.mTexts, mOptions.mExpressions, mOptions.mIgnoresCase)
    {
        // Those first that tend to be the rarest: of those with one value the first gives the needle.
        AddCondition(&HeaderFields::mMessageID, mOptions.mMessageIDs, "][0x", "]");
        AddCondition(&HeaderFields::mObject, mOptions.mObjects, "[OID:", "]");
        AddCondition(&HeaderFields::mSession, mOptions.mSessions, "[SID:", "]");
        AddCondition(&HeaderFields::mUser, mOptions.mUsers, "[UID:", "]");
        AddCondition(&HeaderFields::mThread, mOptions.mThreads, "][THR:", "][");
        AddCondition(&HeaderFields::mProcess, mOptions.mProcesses, "][PID:", "][THR:");
        AddCondition(&HeaderFields::mLogger, mOptions.mLoggers, "][", "][");
        AddCondition(&HeaderFields::mDispatcher, mOptions.mDispatchers, "][", "]");
        AddCondition(&HeaderFields::mServer, mOptions.mServers, "][SERVER:", "][PID:");
        AddCondition(&HeaderFields::mHost, mOptions.mHosts, " [HOST:", "][SERVER:");
        if (std::string const* const text = mMatcher.GetOnlyText(); text && !text->empty())
            mNeedle = *text;
        if (mOptions.mIsInverted)
            mNeedle.clear();
    }

    void RecordFilter::AddCondition(std::string_view HeaderFields::*pField, std::vector<std::string> const& values,
        std::string const& before, std::string const& after)
    {
        if (values.empty())
            return;
        mConditions.push_back({pField, values});
        // An empty value has several forms: a "0", or no bracket at all.
        if (values.size() != 1 || values[0].empty())
            return;
        mFieldNeedles.push_back(before + values[0] + after);
        if (mNeedle.empty())
            mNeedle = mFieldNeedles.back();
    }

    bool RecordFilter::IsWanted(Record const& record, RecordSource& source)
    {
        return IsInTime(record.mTime) && Matches(record, source) != mOptions.mIsInverted;
    }

    bool RecordFilter::Matches(Record const& record, RecordSource& source)
    {
        if (mConditions.empty() && mMatcher.IsEmpty())
            return true;
        // Most records that are not wanted are told by this from those that may be, without a look at their fields.
        auto const isMissing = [&record](std::string const& needle) { return !Contains(record.mText, needle); };
        if (std::any_of(mFieldNeedles.begin(), mFieldNeedles.end(), isMissing))
            return false;
        std::string_view const text = WithoutLineEnd(record.mText);
        bool const isOneLine = record.mIsWhole && text.find('\n') == std::string_view::npos;
        if (mConditions.empty() && isOneLine && !mMatcher.MayMatch(text))
            return false;
        bool const hasHeader = record.mKind == Record::Kind::Message && mParser.Parse(record.mText);
        if (!mConditions.empty() && (!hasHeader || !HasFields()))
            return false;
        return MatchesText(record, hasHeader ? mParser.GetMessage() : text, source);
    }

    /// Whether the header that was read meets the conditions.
    bool RecordFilter::HasFields() const
    {
        HeaderFields const& fields = mParser.GetFields();
        return std::all_of(mConditions.begin(), mConditions.end(),
            [&fields](Condition const& condition)
            {
                std::vector<std::string> const& values = condition.mValues;
                return std::find(values.begin(), values.end(), fields.*condition.mpField) != values.end();
            });
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
