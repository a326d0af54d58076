#pragma once

#include "output/Output.h"
#include "reading/HeaderParser.h"
#include "reading/Record.h"
#include "stats/Grouping.h"
#include "stats/Question.h"
#include "stats/TimeSlots.h"

#include <json/value.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Counts records and shows the counts.
    class StatsReport
    {
    public:
        using Questions = std::vector<std::unique_ptr<Question>>;

        /// \param groupings  what to count by. When there are none and no questions either, it is loggers, dispatchers,
        ///                   message IDs and slots of time.
        /// \param slotWidth  see TimeSlots.
        StatsReport(std::vector<std::string> const& groupings, Questions questions, std::int64_t slotWidth);

        void Add(Record const& record);

        /// All records were added.
        void Finish();

        /// How many records there were.
        std::uint64_t GetCount() const { return mRecords; }

        /// Tables with bars in so many columns, of at most so many rows each.
        void PrintTables(Output& output, unsigned int width, std::size_t rows) const;

        void PrintJson(Output& output) const;

    private:
        void AddUsual(Json::Value& report) const;

        std::uint64_t mRecords = 0;
        std::uint64_t mLoose = 0;
        std::uint64_t mMissed = 0;
        std::int64_t mFirst = std::numeric_limits<std::int64_t>::max();
        std::int64_t mLast = std::numeric_limits<std::int64_t>::min();
        std::vector<Grouping> mGroupings;
        Questions const mQuestions;
        bool const mIsUsual;
        TimeSlots mSlots;
        HeaderParser mParser;
    };
}
