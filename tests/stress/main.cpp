// Many processes with many threads write one log with a small limit, while processes start, end and are killed at
// random moments; then every byte of the log and its back-ups is checked. In a campaign the log is made to fail
// meanwhile. Ends with 0 when no fault was found.

#include "Campaign.h"
#include "Checker.h"
#include "Ledger.h"
#include "Run.h"
#include "Shared.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <random>

int main(int argc, char** argv)
{
    RunOptions options;
    bool isCampaign = false;
    unsigned int minutes = 0;
    WriterSettings settings{"", 300'000, 2, std::random_device()()};
    std::string folder;

    CLI::App app("Writes one log from many processes at once and checks every byte of it.");
    app.add_option("--processes", options.mProcesses, "processes at a time")->check(CLI::Range(1, 64));
    app.add_option("--threads", settings.mThreads, "threads of each")->check(CLI::Range(1u, Ledger::kMaxThreads));
    app.add_option("--milliseconds", options.mMilliseconds, "how long, unless the back-ups are full before");
    app.add_option("--limit", settings.mLimit, "size in bytes at which the log rolls over");
    app.add_option("--seed", settings.mSeed, "of the random numbers");
    app.add_flag("--kill", options.mKills, "kill processes at random moments");
    app.add_option("--keep", folder, "folder for the logs, which stay there");
    app.add_flag("--campaign", isCampaign, "make the log fail in every way, each for that long, and print a table");
    app.add_option("--minutes", minutes, "how long to repeat the campaign");
    CLI11_PARSE(app, argc, argv);
    if (isCampaign)
        return RunCampaigns(options, settings, minutes) ? 0 : 1;

    std::string temporary = (std::filesystem::temp_directory_path() / "qzlog-stress-XXXXXX").string();
    Ledger* const ledger = CreateShared<Ledger>();
    if (!ledger || (folder.empty() && !mkdtemp(temporary.data())))
    {
        std::perror("stress");
        return 2;
    }
    settings.mFolder = folder.empty() ? temporary : folder;
    std::filesystem::create_directories(settings.mFolder);

    Run run(options, settings, *ledger, [&](unsigned int process) { return RunWriter(settings, process, *ledger); });
    run.Go();
    bool const isGood = CheckLog(settings, *ledger, run.GetStarted()) && !run.HasFailed();
    if (folder.empty())
        std::filesystem::remove_all(temporary);
    return isGood ? 0 : 1;
}
