#include "Campaign.h"

#include "Checker.h"
#include "Shared.h"
#include "Table.h"
#include "support/OwnMounts.h"

#include <algorithm>
#include <vector>

namespace
{
    constexpr unsigned int kOrdinaryUser = 65534;
    constexpr unsigned int kLimit = 100'000;
    constexpr unsigned int kShortestFillMilliseconds = 3'000;

    void RunOne(
        RunOptions options, WriterSettings settings, std::filesystem::path const& top, Fault const& fault, Row& row)
    {
        Ledger* const ledger = CreateShared<Ledger>();
        settings.mFolder = top / "d";
        settings.mLimit = kLimit;
        settings.mIsCampaign = true;
        settings.mRetrySeconds = fault.mNeedsSmallDisk ? 1 : 0;
        settings.mUser = fault.mIsOrdinaryUser && geteuid() == 0 ? kOrdinaryUser : 0;
        if (fault.mNeedsSmallDisk)
        {
            options.mMilliseconds = std::max(options.mMilliseconds, kShortestFillMilliseconds);
            if (!TakeOwnMounts() || mount("tmpfs", top.c_str(), "tmpfs", 0, "size=24m") != 0)
            {
                row.mpSkipped = "no file system of its own here";
                return;
            }
        }
        std::filesystem::create_directory(settings.mFolder);
        std::filesystem::create_directory_symlink("d", top / "way");
        for (std::filesystem::path const& folder : {top, std::filesystem::path(settings.mFolder)})
            std::filesystem::permissions(folder, std::filesystem::perms{0777});
        Run run(
            options, settings, *ledger, [&](unsigned int process) { return RunWriter(settings, process, *ledger); });
        Place place = run.MakePlace(top);
        run.Go(
            [&]
            {
                fault.mpDo(place);
                ++place.mTries;
            });
        CheckCampaign(settings, *ledger, run.GetStarted(), place, fault, row.mOutcome);
        bool const isGood = !run.HasFailed() && row.mOutcome.mIsGood;
        if (!isGood)
            std::printf("FAULT in '%s', %s, seed %llu\n", fault.mpName, row.mpMode,
                static_cast<unsigned long long>(settings.mSeed));
        row.mOutcome.mIsGood = isGood;
    }
}

bool RunCampaigns(RunOptions const& options, WriterSettings const& settings, unsigned int minutes)
{
    std::vector<Row*> rows;
    for (bool const isStrict : {true, false})
        for (Fault const& fault : gFaults)
            *rows.emplace_back(CreateShared<Row>()) = {fault.mpName, isStrict ? "strict" : "basic", {}, nullptr};
    WriterSettings own = settings;
    return RunTable(rows, minutes, own.mSeed,
        [&](std::size_t i, std::filesystem::path const& top)
        {
            own.mIsStrict = i < gFaults.size();
            RunOne(options, own, top, gFaults[i % gFaults.size()], *rows[i]);
        });
}
