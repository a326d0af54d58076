#pragma once

#include "Ledger.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <sys/types.h>

/// Where a campaign runs: the log stands in a folder of its own below mTop, and what it does away with is kept.
struct Place
{
    /// The calls that each thread of the first processes had begun.
    using Begun = std::vector<std::array<std::uint64_t, Ledger::kMaxThreads>>;

    std::filesystem::path mTop;
    std::filesystem::path mLog;
    std::map<pid_t, unsigned int> const& mRunning;
    Ledger const& mLedger;
    std::mt19937_64& mRandom;
    /// A log that was taken away, and what had been begun then: later records do not belong there.
    std::map<std::filesystem::path, Begun> mTaken;
    unsigned int mTries = 0;

    std::filesystem::path MakeName();
    void NoteTaken(std::filesystem::path const& file);
};

struct Fault
{
    char const* mpName;
    /// Does it once, and undoes what writers cannot.
    void (*mpDo)(Place& place);
    bool mKills = false;
    /// Whether the writers are an ordinary user's, and the folder is.
    bool mIsOrdinaryUser = false;
    /// The file system has room for little more than the campaign itself.
    bool mNeedsSmallDisk = false;
    /// Whether a roll-over that it meets can leave a content in the log and in a back-up.
    bool mMayDouble = false;
    /// Whether basic recovery loses messages in it that it does not count.
    bool mTakesUncounted = false;
};

/// All of them. The first one does nothing.
extern std::vector<Fault> const gFaults;
