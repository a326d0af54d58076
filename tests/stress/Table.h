#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

/// What a campaign has come to.
struct Outcome
{
    unsigned long long mTries = 0;
    unsigned long long mRecords = 0;
    unsigned long long mLost = 0;
    /// By lines in the log, or on standard error by one that could not get at the log when it ended.
    unsigned long long mReported = 0;
    /// Lost with a writer that was killed before it could report them.
    unsigned long long mKilledWith = 0;
    unsigned long long mNotReported = 0;
    bool mIsGood = true;
};

/// One line of a campaign's table, in memory that the process which does it shares.
struct Row
{
    char const* mpFault = "";
    char const* mpMode = "";
    Outcome mOutcome;
    /// Why it was not done; null if it was.
    char const* mpSkipped = nullptr;
};

/// Prints the rows with a title. Returns whether all were right.
bool PrintTable(std::vector<Row*> const& rows);

/// Does all rows, of which there must be one, and again with the next seed until the time is over, then prints them.
/// Each is done in a process of its own, which can have other mounts and gives its memory back, with a new folder that
/// is removed afterwards.
bool RunTable(std::vector<Row*> const& rows, unsigned int minutes, std::uint64_t& seed,
    std::function<void(std::size_t row, std::filesystem::path const& top)> const& work);
