#include "Table.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
    void RunApart(Row& row, std::function<void(std::filesystem::path const& top)> const& work)
    {
        std::string top = (std::filesystem::temp_directory_path() / "qzlog-campaign-XXXXXX").string();
        std::fflush(nullptr);
        if (!mkdtemp(top.data()))
            return;
        pid_t const id = fork();
        if (id == 0)
        {
            work(top);
            std::fflush(nullptr);
            _exit(0);
        }
        int status = 0;
        waitpid(id, &status, 0);
        std::filesystem::remove_all(top);
        if (status != 0)
            row.mOutcome.mIsGood = false;
    }
}

bool PrintTable(std::vector<Row*> const& rows)
{
    std::printf("%-22s %-7s %8s %10s %9s %9s %12s %13s\n", "fault", "", "tries", "records", "lost", "reported",
        "killed with", "not reported");
    for (Row const* const row : rows)
    {
        Outcome const& sum = row->mOutcome;
        std::printf("%-22s %-7s ", row->mpFault, row->mpMode);
        if (row->mpSkipped)
            std::printf("skipped: %s\n", row->mpSkipped);
        else
            std::printf("%8llu %10llu %9llu %9llu %12llu %13llu%s\n", sum.mTries, sum.mRecords, sum.mLost,
                sum.mReported, sum.mKilledWith, sum.mNotReported, sum.mIsGood ? "" : "  FAULT");
    }
    return std::ranges::all_of(rows, [](Row const* row) { return row->mOutcome.mIsGood; });
}

bool RunTable(std::vector<Row*> const& rows, unsigned int minutes, std::uint64_t& seed,
    std::function<void(std::size_t row, std::filesystem::path const& top)> const& work)
{
    if (rows.empty())
    {
        std::printf("no row has this in its name\n");
        return false;
    }
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(minutes);
    do
    {
        for (std::size_t i = 0; i < rows.size(); ++i)
            RunApart(*rows[i], [&](std::filesystem::path const& top) { work(i, top); });
        ++seed;
    } while (std::chrono::steady_clock::now() < end);
    return PrintTable(rows);
}
