#pragma once

#include "Ledger.h"
#include "Writer.h"

#include <array>
#include <cstdint>
#include <ctime>
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
    Ledger& mLedger;
    std::mt19937_64& mRandom;
    /// A log that was taken away, and what had been begun then: later records do not belong there.
    std::map<std::filesystem::path, Begun> mTaken;
    /// The times that the clock was set to, in seconds since 1970.
    std::vector<std::time_t> mClocks;
    unsigned int mTries = 0;

    std::filesystem::path MakeName();
    void NoteTaken(std::filesystem::path const& file);
};

/// What holds for a fault.
enum Trait : unsigned int
{
    kKills = 1,
    /// The writers are an ordinary user's, and the folder is.
    kOrdinaryUser = 2,
    /// The file system has room for little more than the campaign itself.
    kSmallDisk = 4,
    /// A roll-over that it meets can leave a content in the log and in a back-up.
    kDoubles = 8,
    /// Basic recovery loses messages in it that it does not count.
    kUncounted = 16,
    /// Writers make no pauses.
    kHasty = 32,
    kOnlyStrict = 64,
    /// Processes of many threads fork.
    kForks = 128,
    /// A log that is lost is tried again after a second, not at once.
    kPatient = 256,
    kNoProc = 512
};

struct Fault
{
    bool Has(Trait trait) const { return (mTraits & trait) != 0; }

    char const* mpName;
    /// Does it once, and undoes what writers cannot.
    void (*mpDo)(Place& place);
    unsigned int mTraits = 0;
    /// The work of each process.
    int (*mpWork)(WriterSettings const& settings, unsigned int process, Ledger& ledger) = RunWriter;
};

/// All of them. The first one does nothing.
extern std::vector<Fault> const gFaults;
