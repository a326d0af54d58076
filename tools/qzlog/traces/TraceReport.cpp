#include "traces/TraceReport.h"

#include "output/Lines.h"
#include "stats/Table.h"

#include <QzLog/ServerCommands.h>

#include <json/value.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kLongestLogPath = 4096;
        constexpr std::size_t kLongestNameLabel = 60;

        std::string GetCommandName(int id)
        {
            char const* const name = QzLog::GetServerCommandName(id);
            return name ? name : "(unknown)";
        }

        std::string FormatMean(double mean)
        {
            return std::to_string(std::llround(mean));
        }

        std::uint64_t GetCountOf(PrintOut::Values const& values)
        {
            return values.mCount;
        }

        std::uint64_t GetCountOf(PrintOut::Messages const& messages)
        {
            return messages.GetCount();
        }

        /// The rows of a table, the largest counts first.
        template <class Rows>
        std::vector<typename Rows::value_type const*> SortByCount(Rows const& rows)
        {
            std::vector<typename Rows::value_type const*> sorted;
            sorted.reserve(rows.size());
            for (auto const& row : rows)
                sorted.push_back(&row);
            std::stable_sort(sorted.begin(), sorted.end(),
                [](auto const* a, auto const* b) { return GetCountOf(a->second) > GetCountOf(b->second); });
            return sorted;
        }

        template <class Rows>
        std::uint64_t CountAll(Rows const& rows)
        {
            std::uint64_t count = 0;
            for (auto const& row : rows)
                count += GetCountOf(row.second);
            return count;
        }

        std::uint64_t CountClusterCommands(PrintOut const& printOut)
        {
            auto const& commands = printOut.GetCommands();
            std::uint64_t count = 0;
            for (auto row = commands.lower_bound(QzLog::kFirstClusterCommand);
                 row != commands.upper_bound(QzLog::kLastClusterCommand); ++row)
                count += row->second.mCount;
            return count;
        }

        std::string Describe(PrintOut const& printOut)
        {
            std::string const periods = std::to_string(printOut.GetPeriods()) + " periods, ";
            switch (printOut.GetKind())
            {
            case PrintOut::Kind::Empty:
                return "no period of a command trace";
            case PrintOut::Kind::Command:
                return "command trace, " + periods + std::to_string(CountAll(printOut.GetCommands())) + " commands, " +
                       std::to_string(CountClusterCommands(printOut)) + " of them of the cluster";
            case PrintOut::Kind::Message:
                break;
            }
            return "message trace since " + printOut.GetStart() + ", " + periods +
                   std::to_string(CountAll(printOut.GetMessages())) + " messages";
        }

        using Table = std::vector<std::vector<std::string>>;

        Table MakeTable(PrintOut const& printOut)
        {
            Table table;
            if (printOut.GetKind() == PrintOut::Kind::Message)
                table = {{"count", "first", "second", "third", "mean", "id", "command and destination"}};
            else
                table = {{"count", "minimum", "mean", "maximum", "id", "command"}};
            for (auto const* const pRow : SortByCount(printOut.GetCommands()))
            {
                auto const& [id, values] = *pRow;
                table.push_back(
                    {std::to_string(values.mCount), std::to_string(values.mMinimum), FormatMean(values.GetMean()),
                        std::to_string(values.mMaximum), std::to_string(id), GetCommandName(id)});
            }
            for (auto const* const pRow : SortByCount(printOut.GetMessages()))
            {
                auto const& [key, messages] = *pRow;
                table.push_back({std::to_string(messages.GetCount()), std::to_string(messages.mFirst),
                    std::to_string(messages.mSecond), std::to_string(messages.mThird), FormatMean(messages.GetMean()),
                    std::to_string(key.second),
                    GetCommandName(key.second) + ", " + MakeLabel(key.first, kLongestNameLabel)});
            }
            return table;
        }

        /// With its ID, and its name if it has one.
        Json::Value StartRow(int id)
        {
            Json::Value row(Json::objectValue);
            row["id"] = id;
            if (char const* const name = QzLog::GetServerCommandName(id))
                row["command"] = name;
            return row;
        }
    }

    void PrintTrace(Output& output, std::string const& path, PrintOut const& printOut, std::size_t rows)
    {
        Table table = MakeTable(printOut);
        std::size_t const all = table.size() - 1;
        output.Write(MakeLabel(path, kLongestLogPath) + ": " + Describe(printOut) + MakeRest(all, rows) + '\n');
        table.resize(1 + std::min(all, rows));
        if (table.size() > 1)
            PrintColumns(output, table);
        if (printOut.GetLeftOut() != 0)
            output.Write(std::to_string(printOut.GetLeftOut()) + " figures of further commands are not among these\n");
    }

    void PrintTraceAsJson(Output& output, std::string const& path, PrintOut const& printOut)
    {
        bool const isOfMessages = printOut.GetKind() == PrintOut::Kind::Message;
        Json::Value report(Json::objectValue);
        report["file"] = MakeWellFormed(path);
        report["trace"] = isOfMessages ? "message" : "command";
        report["periods"] = Json::UInt64{printOut.GetPeriods()};
        report["further_figures"] = Json::UInt64{printOut.GetLeftOut()};
        if (isOfMessages)
            report["start"] = MakeWellFormed(printOut.GetStart());
        Json::Value& list = report[isOfMessages ? "messages" : "commands"] = Json::Value(Json::arrayValue);
        for (auto const& [id, values] : printOut.GetCommands())
        {
            Json::Value row = StartRow(id);
            row["count"] = Json::UInt64{values.mCount};
            row["minimum"] = Json::Int64{values.mMinimum};
            row["mean"] = values.GetMean();
            row["maximum"] = Json::Int64{values.mMaximum};
            list.append(row);
        }
        for (auto const& [key, messages] : printOut.GetMessages())
        {
            Json::Value row = StartRow(key.second);
            row["destination"] = MakeWellFormed(key.first);
            row["first"] = Json::UInt64{messages.mFirst};
            row["second"] = Json::UInt64{messages.mSecond};
            row["third"] = Json::UInt64{messages.mThird};
            row["mean"] = messages.GetMean();
            list.append(row);
        }
        PrintJsonLine(output, report);
    }
}
