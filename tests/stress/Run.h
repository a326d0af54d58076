#pragma once

#include "Faults.h"
#include "Ledger.h"
#include "Writer.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

// The back-ups that are kept hold more than this many limits, so that nothing is deleted.
inline constexpr unsigned int kMostLimits = 150;

// In seconds. One that hangs is a fault.
inline constexpr unsigned int kLongestLife = 120;

struct RunOptions
{
    unsigned int mProcesses = 4;
    unsigned int mMilliseconds = 5000;
    bool mKills = false;
    std::uint64_t mFlood = 200'000; // records
    std::string mTool = {};
    std::string mOnly = {};
};

/// Starts writers, replaces those that have ended, and kills some, until the time is over or the back-ups are full.
class Run
{
public:
    /// The work of one process, with its number; returns the exit code.
    using Work = std::function<int(unsigned int process)>;

    Run(RunOptions const& options, WriterSettings const& settings, Ledger& ledger, Work work)
        : mOptions(options), mSettings(settings), mLedger(ledger), mWork(std::move(work)), mRandom(settings.mSeed)
    {
    }

    /// Where the faults of a campaign are done, with `top` for all that is made.
    Place MakePlace(std::filesystem::path const& top)
    {
        return {top, std::filesystem::path(mSettings.mFolder) / "stress.log", mRunning, mLedger, mRandom, {}, {}, 0};
    }

    /// Runs processes for the time that was set, and disturbs them again and again.
    void Go(std::function<void()> const& disturb = {})
    {
        auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(mOptions.mMilliseconds);
        std::uint64_t const mostBytes = std::uint64_t{mSettings.mLimit} * kMostLimits;
        while (std::chrono::steady_clock::now() < end && mLedger.mBytes < mostBytes &&
               mLedger.mStarted + mOptions.mProcesses < Ledger::kMaxProcesses)
        {
            while (mRunning.size() < mOptions.mProcesses)
                Start();
            usleep(static_cast<useconds_t>(mRandom() % 20'000));
            if (mOptions.mKills && mRandom() % 2 == 0)
                Kill();
            if (disturb)
                disturb();
            Reap(WNOHANG);
        }
        mLedger.mStops = true;
        while (!mRunning.empty())
            Reap(0);
    }

    /// Kills one of the processes that are running.
    void Kill()
    {
        if (!mRunning.empty())
            kill(std::next(mRunning.begin(), static_cast<int>(mRandom() % mRunning.size()))->first, SIGKILL);
    }

    bool HasFailed() const { return mHasFailed; }

private:
    void Start()
    {
        std::fflush(nullptr);
        unsigned int const number = mLedger.mStarted++;
        pid_t const id = fork();
        if (id == 0)
        {
            alarm(kLongestLife + mOptions.mMilliseconds / 1000);
            _exit(mWork(number));
        }
        if (id < 0)
            return;
        mLedger.mProcesses[number].mId = id;
        mRunning[id] = number;
    }

    void Reap(int flags)
    {
        int status = 0;
        auto const child = mRunning.find(waitpid(-1, &status, flags));
        if (child == mRunning.end())
            return;
        bool const wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        mLedger.mProcesses[child->second].mWasKilled = wasKilled;
        if (!wasKilled && status != 0)
        {
            std::printf("FAULT: process %u ended with status %d\n", child->second, status);
            mHasFailed = true;
        }
        mRunning.erase(child);
    }

    RunOptions const& mOptions;
    WriterSettings const& mSettings;
    Ledger& mLedger;
    Work const mWork;
    std::mt19937_64 mRandom;
    std::map<pid_t, unsigned int> mRunning; // and the number of each
    bool mHasFailed = false;
};
