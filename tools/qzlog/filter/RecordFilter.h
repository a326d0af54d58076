#pragma once

#include "filter/FilterOptions.h"
#include "filter/TextMatcher.h"
#include "reading/HeaderParser.h"
#include "reading/Record.h"

#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    /// Decides which records are wanted. Used by one thread.
    class RecordFilter
    {
    public:
        /// Throws Trouble if an expression is invalid.
        /// \param keepsOthers  records that are not wanted are needed too.
        explicit RecordFilter(FilterOptions options, bool keepsOthers = false);

        bool KeepsOthers() const { return mKeepsOthers; }

        /// Bytes that every wanted record holds; the empty ones when there are none, or when it keeps others.
        Needle const& GetNeedle() const { return mNeedle; }

        /// Such bytes as well: those whose lack excluded the last record that was not wanted. Null if it was excluded
        /// for another reason.
        Needle const* GetMissing() const { return mpMissing; }

        /// Whether the record that `source` has just given is wanted. This may read the further parts of one that is
        /// not whole. Again gives it once more, if the source can.
        bool IsWanted(Record const& record, RecordSource& source);

        /// Whether any record of that time is wanted.
        bool IsInTime(std::int64_t time) const { return time >= mOptions.mSince && time < mOptions.mUntil; }

        /// For code that marks what was found.
        TextMatcher const& GetMatcher() const { return mMatcher; }

    private:
        /// A field of the header, and the values that it may have; one that ends in "*" stands for all that begin so.
        struct Condition
        {
            std::string_view HeaderFields::*mpField;
            std::vector<std::string> mValues;
        };

        void AddCondition(std::string_view HeaderFields::*pField, std::vector<std::string> const& values,
            std::string before, std::string const& after);
        bool LacksNeedle(Record const& record);
        bool HasFields() const;
        bool Matches(Record const& record, RecordSource& source);
        bool MatchesText(Record const& record, std::string_view message, RecordSource& source) const;

        FilterOptions const mOptions;
        bool const mKeepsOthers;
        TextMatcher const mMatcher;
        std::vector<Condition> mConditions;
        /// Bytes that the first part of every record which meets the conditions holds.
        std::vector<Needle> mFieldNeedles;
        Needle mNeedle;
        Needle const* mpMissing = nullptr;
        HeaderParser mParser;
    };
}
