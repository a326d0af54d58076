#pragma once

#include "stats/Question.h"
#include "stats/TextHash.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace QzLogTool
{
    /// When nothing was logged: the longest times between two records of all logs, and of one process; and since when
    /// each log has been silent.
    class Gaps : public Question
    {
    public:
        /// \param most  keeps so many of each kind, the longest ones; at most 10,000.
        /// \param now  up to which a log is silent, in milliseconds since 1970-01-01 00:00 UTC.
        Gaps(std::size_t most, std::int64_t now);

        char const* GetName() const override { return "gaps"; }
        void Add(Record const& record, HeaderParser const& parser) override;
        void Finish() override;
        void Print(Output& output, std::size_t rows) const override;
        Json::Value ToJson() const override;

    private:
        struct Gap
        {
            std::int64_t mFrom;
            std::int64_t mTo;
            // Of which process; empty for all.
            std::string mOwner;
        };

        /// Of the longest gaps the shortest is on top; in Finish they are sorted.
        using Longest = std::vector<Gap>;

        /// When each has logged last.
        using LastTimes = std::unordered_map<std::string, std::int64_t, TextHash, std::equal_to<>>;
        using LastTime = LastTimes::value_type;

        static bool IsLonger(Gap const& a, Gap const& b);
        void Note(Longest& longest, std::int64_t& last, std::int64_t now, std::string_view owner) const;
        LastTime* FindProcess(std::string_view process);
        LastTime& FindLog(std::string const* pPath);
        std::vector<LastTime const*> SortLogs() const;

        std::size_t const mMost;
        std::int64_t const mNow;
        std::int64_t mLast = std::numeric_limits<std::int64_t>::min();
        Longest mOfAll;
        Longest mOfProcesses;
        LastTimes mProcesses;
        LastTimes mLogs;
        // Those of the last record.
        LastTime* mpProcess = nullptr;
        LastTime* mpLog = nullptr;
        std::string mPath;
        std::uint64_t mUnknown = 0;
    };
}
