#include "stats/StatsReport.h"

#include "output/Lines.h"
#include "stats/Table.h"
#include "time/Moments.h"

#include <json/value.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        using Rows = std::vector<std::pair<std::string, std::uint64_t>>;

        // Keys in JSON of what is counted when nothing else was asked for.
        constexpr char const* kUsual[][2] = {
            {"logger", "loggers"}, {"dispatcher", "dispatchers"}, {"id", "message_ids"}};
        // Memory for the names of all tables. Those who show them take as much again, and as JSON twice as much.
        constexpr std::size_t kNames = std::size_t{10} << 20;
        constexpr std::size_t kLongestLabel = 40;

        /// A row a line: label, count, and a bar in what is left of the width.
        void PrintTable(Output& output, std::string const& title, Rows const& rows, unsigned int width)
        {
            std::size_t labelWidth = 0;
            std::uint64_t most = 1;
            for (auto const& [label, count] : rows)
            {
                labelWidth = std::max(labelWidth, GetWidth(label));
                most = std::max(most, count);
            }
            std::size_t const countWidth = std::to_string(most).size();
            std::size_t const taken = labelWidth + countWidth + 4;
            std::size_t const barWidth = width > taken ? width - taken : 1;

            output.Write('\n' + title + '\n');
            for (auto const& [label, count] : rows)
            {
                std::string const digits = std::to_string(count);
                double const part = static_cast<double>(count) / static_cast<double>(most);
                std::size_t const bar = static_cast<std::size_t>(std::lround(part * static_cast<double>(barWidth)));
                std::string line = label + std::string(labelWidth - GetWidth(label) + 2, ' ');
                line += std::string(countWidth - digits.size(), ' ') + digits;
                if (bar != 0)
                    line += ' ' + std::string(bar, '#');
                output.Write(line + '\n');
            }
        }

        void PrintGrouping(Output& output, Grouping const& grouping, unsigned int width, std::size_t most)
        {
            Counter const& counter = grouping.GetCounter();
            std::string const& title = grouping.GetTitle();
            Rows rows = counter.GetMost(most);
            if (grouping.IsOfTime())
                std::sort(rows.begin(), rows.end());
            for (auto& row : rows)
                row.first = MakeLabel(row.first, kLongestLabel);
            PrintTable(output, title + MakeRest(counter.GetCounts().size(), rows.size()), rows, width);
        }

        Json::Value ToJson(Counter const& counter)
        {
            Json::Value object(Json::objectValue);
            for (auto const& [name, count] : counter.GetCounts())
                object[MakeWellFormed(name)] = Json::UInt64{count};
            return object;
        }

        /// "500 ms", "10 s", "5 min", "2 h", "7 d".
        std::string FormatWidth(std::int64_t width)
        {
            struct Unit
            {
                std::int64_t mMilliseconds;
                char const* mName;
            };
            constexpr Unit kUnits[] = {{86400000, " d"}, {3600000, " h"}, {60000, " min"}, {1000, " s"}, {1, " ms"}};
            Unit const* unit = kUnits;
            while (width % unit->mMilliseconds != 0)
                ++unit;
            return std::to_string(width / unit->mMilliseconds) + unit->mName;
        }
    }

    StatsReport::StatsReport(std::vector<std::string> const& groupings, Questions questions, std::int64_t slotWidth)
        : mQuestions(std::move(questions)), mIsUsual(groupings.empty() && mQuestions.empty()), mSlots(slotWidth)
    {
        std::size_t const share = kNames / std::max<std::size_t>(mIsUsual ? std::size(kUsual) : groupings.size(), 1);
        for (std::string const& name : groupings)
            mGroupings.emplace_back(name, share);
        for (auto const& usual : kUsual)
            if (mIsUsual)
                mGroupings.emplace_back(usual[0], share);
    }

    void StatsReport::Add(Record const& record)
    {
        if (record.mKind != Record::Kind::Message || !mParser.Parse(record.mText))
        {
            ++mLoose;
            return;
        }
        ++mRecords;
        mFirst = std::min(mFirst, record.mTime);
        mLast = std::max(mLast, record.mTime);
        for (Grouping& grouping : mGroupings)
            grouping.Add(record, mParser);
        for (std::unique_ptr<Question> const& pQuestion : mQuestions)
            pQuestion->Add(record, mParser);
        if (mIsUsual)
            mSlots.Add(ToLocal(record.mTime));
        MissedMessages missed;
        if (ReadMissedMessages(mParser, missed))
            mMissed += missed.mCount;
    }

    void StatsReport::Finish()
    {
        for (std::unique_ptr<Question> const& pQuestion : mQuestions)
            pQuestion->Finish();
    }

    void StatsReport::PrintTables(Output& output, unsigned int width, std::size_t rows) const
    {
        output.Write(std::to_string(mRecords) + " records");
        if (mRecords != 0)
            output.Write(" from " + FormatMoment(ToLocal(mFirst)) + " to " + FormatMoment(ToLocal(mLast)));
        output.Write(", " + std::to_string(mMissed) + " messages missed");
        if (mLoose != 0)
            output.Write(", " + std::to_string(mLoose) + (mLoose == 1 ? " piece" : " pieces") + " outside of records");
        output.Write("\n");
        if (mRecords == 0)
            return;
        for (Grouping const& grouping : mGroupings)
            PrintGrouping(output, grouping, width, rows);
        for (std::unique_ptr<Question> const& pQuestion : mQuestions)
            pQuestion->Print(output, rows);
        if (!mIsUsual)
            return;
        Rows slots;
        for (auto const& [start, count] : mSlots.GetSlots())
            slots.emplace_back(FormatMoment(start).substr(0, mSlots.GetWidth() % 1000 == 0 ? 19 : 23), count);
        PrintTable(output, "Time, in slots of " + FormatWidth(mSlots.GetWidth()), slots, width);
    }

    void StatsReport::PrintJson(Output& output) const
    {
        Json::Value report(Json::objectValue);
        report["records"] = Json::UInt64{mRecords};
        report["missed"] = Json::UInt64{mMissed};
        report["loose"] = Json::UInt64{mLoose};
        if (mRecords != 0)
        {
            report["first"] = FormatMoment(ToLocal(mFirst));
            report["last"] = FormatMoment(ToLocal(mLast));
        }
        for (Grouping const& grouping : mGroupings)
            if (!mIsUsual)
                report["by"][grouping.GetName()] = ToJson(grouping.GetCounter());
        for (std::unique_ptr<Question> const& pQuestion : mQuestions)
            report[pQuestion->GetName()] = pQuestion->ToJson();
        if (mIsUsual)
            AddUsual(report);
        PrintJsonLine(output, report);
    }

    void StatsReport::AddUsual(Json::Value& report) const
    {
        for (std::size_t i = 0; i < std::size(kUsual); ++i)
            report[kUsual[i][1]] = ToJson(mGroupings[i].GetCounter());
        report["slot_milliseconds"] = Json::Int64{mSlots.GetWidth()};
        report["slots"] = Json::Value(Json::arrayValue);
        for (auto const& [start, count] : mSlots.GetSlots())
        {
            Json::Value slot(Json::objectValue);
            slot["time"] = FormatMoment(start);
            slot["records"] = Json::UInt64{count};
            report["slots"].append(slot);
        }
    }
}
