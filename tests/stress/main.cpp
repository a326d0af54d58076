// Many processes with many threads write one log with a small limit. It is made to fail in every way, and programs do
// what is hard for a library within them; then every byte of the log and its back-ups is checked. Ends with 0 when no
// fault was found.

#include "Campaign.h"
#include "Shared.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <random>

int main(int argc, char** argv)
{
    RunOptions options;
    unsigned int minutes = 0;
    WriterSettings settings{"", 300'000, 2, std::random_device()()};
    std::string folder;

    CLI::App app("Writes one log from many processes at once, in every way in which it can fail, and prints a table.");
    app.add_option("--processes", options.mProcesses, "processes at a time")->check(CLI::Range(1, 64));
    app.add_option("--threads", settings.mThreads, "threads of each")->check(CLI::Range(1u, Ledger::kMaxThreads));
    app.add_option("--milliseconds", options.mMilliseconds, "for each fault, unless the back-ups are full before");
    app.add_option("--minutes", minutes, "how long to repeat it");
    app.add_option("--only", options.mOnly, "rows of the table that have this in their names");
    app.add_option("--flood", options.mFlood, "records of a flood")
        ->check(CLI::Range(std::uint64_t{6400}, std::uint64_t{1} << 40));
    app.add_option("--tool", options.mTool, "the command-line tool, which reads hostile texts and files");
    app.add_option("--seed", settings.mSeed, "of the random numbers");
    app.add_option("--keep", folder, "only write, and leave the log in this folder");
    app.add_option("--limit", settings.mLimit, "size in bytes at which that log rolls over");
    app.add_flag("--kill", options.mKills, "kill the processes that write it at random moments");
    CLI11_PARSE(app, argc, argv);
    if (folder.empty())
        return RunCampaigns(options, settings, minutes) ? 0 : 1;

    Ledger* const ledger = CreateShared<Ledger>();
    settings.mFolder = folder;
    std::filesystem::create_directories(folder);
    Run run(options, settings, *ledger, [&](unsigned int process) { return RunWriter(settings, process, *ledger); });
    run.Go();
    return run.HasFailed() ? 1 : 0;
}
