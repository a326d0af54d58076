// Many processes with many threads write one log with a small limit, while processes start, end and are killed at
// random moments; then every byte of the log and its back-ups is checked. Ends with 0 when no fault was found.

#include "Checker.h"
#include "Ledger.h"
#include "Writer.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
    // The back-ups that are kept hold more than this many limits, so that nothing is deleted.
    constexpr unsigned int kMostLimits = 150;

    struct Options
    {
        unsigned int mProcesses = 4;
        unsigned int mSeconds = 5;
        bool mKills = false;
    };

    class Run
    {
    public:
        Run(Options const& options, WriterSettings const& settings, Ledger& ledger)
            : mOptions(options), mSettings(settings), mLedger(ledger), mRandom(settings.mSeed)
        {
        }

        void Go()
        {
            auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(mOptions.mSeconds);
            std::uint64_t const mostBytes = std::uint64_t{mSettings.mLimit} * kMostLimits;
            while (std::chrono::steady_clock::now() < end && mLedger.mBytes < mostBytes &&
                   mStarted + mOptions.mProcesses < Ledger::kMaxProcesses)
            {
                while (mRunning.size() < mOptions.mProcesses)
                    Start();
                usleep(static_cast<useconds_t>(mRandom() % 20'000));
                if (mOptions.mKills && mRandom() % 2 == 0)
                    Kill();
                Reap(WNOHANG);
            }
            mLedger.mStops = true;
            while (!mRunning.empty())
                Reap(0);
        }

        unsigned int GetStarted() const { return mStarted; }
        unsigned int GetKilled() const { return mKilled; }
        bool HasFailed() const { return mHasFailed; }

    private:
        void Start()
        {
            std::fflush(nullptr);
            pid_t const id = fork();
            if (id == 0)
                _exit(RunWriter(mSettings, mStarted, mLedger));
            if (id > 0)
                mRunning[id] = mStarted++;
        }

        void Kill()
        {
            kill(std::next(mRunning.begin(), static_cast<int>(mRandom() % mRunning.size()))->first, SIGKILL);
        }

        void Reap(int flags)
        {
            int status = 0;
            auto const child = mRunning.find(waitpid(-1, &status, flags));
            if (child == mRunning.end())
                return;
            bool const wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
            mLedger.mProcesses[child->second].mWasKilled = wasKilled;
            mKilled += wasKilled;
            if (!wasKilled && status != 0)
            {
                std::printf("FAULT: process %u ended with status %d\n", child->second, status);
                mHasFailed = true;
            }
            mRunning.erase(child);
        }

        Options const& mOptions;
        WriterSettings const& mSettings;
        Ledger& mLedger;
        std::mt19937_64 mRandom;
        std::map<pid_t, unsigned int> mRunning; // and the number of each
        unsigned int mStarted = 0;
        unsigned int mKilled = 0;
        bool mHasFailed = false;
    };
}

int main(int argc, char** argv)
{
    Options options;
    WriterSettings settings{"", 300'000, 2, std::random_device()()};
    std::string folder;

    CLI::App app("Writes one log from many processes at once and checks every byte of it.");
    app.add_option("--processes", options.mProcesses, "processes at a time")->check(CLI::Range(1, 64));
    app.add_option("--threads", settings.mThreads, "threads of each")->check(CLI::Range(1u, Ledger::kMaxThreads));
    app.add_option("--seconds", options.mSeconds, "how long, unless the back-ups are full before");
    app.add_option("--limit", settings.mLimit, "size in bytes at which the log rolls over");
    app.add_option("--seed", settings.mSeed, "of the random numbers");
    app.add_flag("--kill", options.mKills, "kill processes at random moments");
    app.add_option("--keep", folder, "folder for the logs, which stay there");
    CLI11_PARSE(app, argc, argv);

    std::string temporary = (std::filesystem::temp_directory_path() / "qzlog-stress-XXXXXX").string();
    Ledger* const ledger = Ledger::Create();
    if (!ledger || (folder.empty() && !mkdtemp(temporary.data())))
    {
        std::perror("stress");
        return 2;
    }
    settings.mFolder = folder.empty() ? temporary : folder;
    std::filesystem::create_directories(settings.mFolder);

    Run run(options, settings, *ledger);
    run.Go();
    bool const isGood = CheckLog(settings, *ledger, run.GetStarted(), run.GetKilled()) && !run.HasFailed();
    if (folder.empty())
        std::filesystem::remove_all(temporary);
    return isGood ? 0 : 1;
}
