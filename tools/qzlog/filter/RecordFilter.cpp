#include "filter/RecordFilter.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        // How much of the end of one part of a long record is looked at together with the start of the next.
        constexpr std::size_t kOverlap = 4096;

        constexpr char kAnyRest = '*';

        /// A value without the sign that it stands for all that begin so.
        std::string_view GetBeginning(std::string_view value)
        {
            return value.substr(0, value.size() - (value.ends_with(kAnyRest) ? 1 : 0));
        }

        bool Fits(std::string_view value, std::string_view field)
        {
            return value.ends_with(kAnyRest) ? field.starts_with(GetBeginning(value)) : field == value;
        }
    }

    RecordFilter::RecordFilter(FilterOptions options, bool keepsOthers)
        : mOptions(std::move(options)),
          mKeepsOthers(keepsOthers),
          mMatcher(mOptions.mTexts, mOptions.mExpressions, mOptions.mIgnoresCase)
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
        if (!mMatcher.GetNeedle().IsEmpty())
            mNeedle = mMatcher.GetNeedle();
        if (mOptions.mIsInverted || mKeepsOthers)
            mNeedle = Needle();
    }

    void RecordFilter::AddCondition(std::string_view HeaderFields::*pField, std::vector<std::string> const& values,
        std::string before, std::string const& after)
    {
        if (values.empty())
            return;
        mConditions.push_back({pField, values});
        // An empty value has several forms: a "0", or no bracket at all.
        if (values.size() != 1 || GetBeginning(values[0]).empty())
            return;
        mFieldNeedles.emplace_back(
            before.append(GetBeginning(values[0])).append(values[0].ends_with(kAnyRest) ? "" : after));
        if (mNeedle.IsEmpty())
            mNeedle = mFieldNeedles.back();
    }

    bool RecordFilter::IsWanted(Record const& record, RecordSource& source)
    {
        mpMissing = nullptr;
        return IsInTime(record.mTime) && Matches(record, source) != mOptions.mIsInverted;
    }

    bool RecordFilter::Matches(Record const& record, RecordSource& source)
    {
        if (mConditions.empty() && mMatcher.IsEmpty())
            return true;
        // Most records that are not wanted are told by this from those that may be, without a look at their fields.
        if (LacksNeedle(record))
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

    /// Whether there are bytes that the record does not hold and each one that matches does; keeps them.
    bool RecordFilter::LacksNeedle(Record const& record)
    {
        auto const isMissing = [&record](Needle const& needle) { return !needle.IsIn(record.mText); };
        auto const missing = std::find_if(mFieldNeedles.begin(), mFieldNeedles.end(), isMissing);
        Needle const* pMissing = missing != mFieldNeedles.end() ? &*missing : nullptr;
        // The text may stand in a later part.
        if (!pMissing && record.mIsWhole && isMissing(mMatcher.GetNeedle()))
            pMissing = &mMatcher.GetNeedle();
        mpMissing = mOptions.mIsInverted || mKeepsOthers ? nullptr : pMissing;
        return pMissing != nullptr;
    }

    /// Whether the header that was read meets the conditions.
    bool RecordFilter::HasFields() const
    {
        HeaderFields const& fields = mParser.GetFields();
        return std::all_of(mConditions.begin(), mConditions.end(),
            [&fields](Condition const& condition)
            {
                return std::ranges::any_of(condition.mValues,
                    [&](std::string const& value) { return Fits(value, fields.*condition.mpField); });
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
