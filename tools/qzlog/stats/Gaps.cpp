#include "stats/Gaps.h"

#include "output/Lines.h"
#include "reading/Backups.h"
#include "stats/Owners.h"
#include "stats/Table.h"
#include "time/Moments.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kMostGaps = 10'000;
        constexpr std::size_t kMostProcesses = 65'536;
        constexpr std::size_t kLongestPath = 4096;

        std::string FormatTime(std::int64_t time)
        {
            return FormatMoment(ToLocal(time));
        }
    }

    Gaps::Gaps(std::size_t most, std::int64_t now) : mMost(std::min(most, kMostGaps)), mNow(now) {}

    void Gaps::Add(Record const& record, HeaderParser const& parser)
    {
        Note(mOfAll, mLast, record.mTime, std::string_view());
        if (LastTime* const pProcess = FindProcess(GetProcessOf(parser.GetFields())))
            Note(mOfProcesses, pProcess->second, record.mTime, pProcess->first);
        else
            ++mUnknown;
        std::int64_t& last = FindLog(record.mpPath).second;
        last = std::max(last, record.mTime);
    }

    bool Gaps::IsLonger(Gap const& a, Gap const& b)
    {
        std::int64_t const difference = (a.mTo - a.mFrom) - (b.mTo - b.mFrom);
        return difference != 0 ? difference > 0 : a.mFrom < b.mFrom;
    }

    /// \param last  moves on to `now`, and never back: a record that comes too late ends no gap.
    void Gaps::Note(Longest& longest, std::int64_t& last, std::int64_t now, std::string_view owner) const
    {
        if (last == std::numeric_limits<std::int64_t>::min())
            last = now; // the first record, which ends none
        bool const isLonger = longest.size() < mMost || (mMost != 0 && now - last > longest[0].mTo - longest[0].mFrom);
        if (now > last && isLonger)
        {
            if (longest.size() == mMost)
            {
                std::pop_heap(longest.begin(), longest.end(), IsLonger);
                longest.pop_back();
            }
            longest.push_back({last, now, std::string(owner)});
            std::push_heap(longest.begin(), longest.end(), IsLonger);
        }
        last = std::max(last, now);
    }

    /// Null when there are too many.
    Gaps::LastTime* Gaps::FindProcess(std::string_view process)
    {
        if (mpProcess && mpProcess->first == process)
            return mpProcess;
        auto found = mProcesses.find(process);
        if (found == mProcesses.end() && mProcesses.size() == kMostProcesses)
            return nullptr;
        if (found == mProcesses.end())
            found = mProcesses.try_emplace(std::string(process), std::numeric_limits<std::int64_t>::min()).first;
        return mpProcess = &*found;
    }

    /// The log that a file belongs to. There are no more of them than were named.
    Gaps::LastTime& Gaps::FindLog(std::string const* pPath)
    {
        std::string_view const path = pPath ? std::string_view(*pPath) : std::string_view();
        if (mpLog && mPath == path)
            return *mpLog;
        mPath = path;
        std::string log;
        unsigned int number;
        if (!SplitBackupPath(mPath, log, number))
            log = mPath;
        return *(mpLog = &*mLogs.try_emplace(log, std::numeric_limits<std::int64_t>::min()).first);
    }

    void Gaps::Finish()
    {
        std::sort_heap(mOfAll.begin(), mOfAll.end(), IsLonger);
        std::sort_heap(mOfProcesses.begin(), mOfProcesses.end(), IsLonger);
    }

    /// The one that is silent for longest first.
    std::vector<Gaps::LastTime const*> Gaps::SortLogs() const
    {
        std::vector<LastTime const*> logs;
        logs.reserve(mLogs.size());
        for (LastTime const& log : mLogs)
            logs.push_back(&log);
        std::sort(logs.begin(), logs.end(),
            [](LastTime const* a, LastTime const* b)
            { return a->second != b->second ? a->second < b->second : a->first < b->first; });
        return logs;
    }

    void Gaps::Print(Output& output, std::size_t rows) const
    {
        for (Longest const* const pLongest : {&mOfAll, &mOfProcesses})
        {
            bool const isOfAll = pLongest == &mOfAll;
            output.Write(
                isOfAll ? "\nLongest times without a record\n" : "\nLongest times without a record of one process\n");
            std::vector<std::vector<std::string>> table{{"length", "from", isOfAll ? "to" : "to, process"}};
            for (std::size_t i = 0; i < std::min(rows, pLongest->size()); ++i)
            {
                Gap const& gap = (*pLongest)[i];
                std::string const owner = isOfAll ? "" : ' ' + MakeOwnerLabel(gap.mOwner);
                table.push_back({FormatSpan(static_cast<double>(gap.mTo - gap.mFrom)), FormatTime(gap.mFrom),
                    FormatTime(gap.mTo) + owner});
            }
            PrintColumns(output, table);
        }
        if (mUnknown != 0)
            output.Write(std::to_string(mUnknown) + " records of further processes are not among these\n");
        output.Write("\nLast records\n");
        std::vector<std::vector<std::string>> table{{"silent", "since", "log"}};
        std::vector<LastTime const*> const logs = SortLogs();
        for (std::size_t i = 0; i < std::min(rows, logs.size()); ++i)
        {
            auto const& [log, last] = *logs[i];
            table.push_back({FormatSpan(static_cast<double>(std::max<std::int64_t>(mNow - last, 0))), FormatTime(last),
                MakeLabel(log, kLongestPath)});
        }
        PrintColumns(output, table);
    }

    Json::Value Gaps::ToJson() const
    {
        Json::Value result(Json::objectValue);
        for (Longest const* const pLongest : {&mOfAll, &mOfProcesses})
        {
            Json::Value& list = result[pLongest == &mOfAll ? "all" : "processes"] = Json::Value(Json::arrayValue);
            for (Gap const& gap : *pLongest)
            {
                Json::Value row(Json::objectValue);
                row["milliseconds"] = Json::Int64{gap.mTo - gap.mFrom};
                row["from"] = FormatTime(gap.mFrom);
                row["to"] = FormatTime(gap.mTo);
                if (pLongest == &mOfProcesses)
                    PutOwner(row, gap.mOwner);
                list.append(row);
            }
        }
        result["further_records"] = Json::UInt64{mUnknown};
        for (LastTime const* const pLog : SortLogs())
        {
            auto const& [log, last] = *pLog;
            Json::Value row(Json::objectValue);
            row["log"] = MakeWellFormed(log);
            row["last"] = FormatTime(last);
            row["silent_milliseconds"] = Json::Int64{std::max<std::int64_t>(mNow - last, 0)};
            result["logs"].append(row);
        }
        return result;
    }
}
