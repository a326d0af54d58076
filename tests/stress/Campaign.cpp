#include "Campaign.h"

#include "Checker.h"
#include "Shared.h"
#include "Table.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/mount.h>

namespace
{
    constexpr unsigned int kOrdinaryUser = 65534;
    constexpr unsigned int kLimit = 100'000;
    constexpr unsigned int kShortestFillMilliseconds = 3'000;

    /// Mounts a file system of its own with little room.
    bool MountSmallDisk(std::filesystem::path const& folder)
    {
        unsigned int const user = geteuid();
        unsigned int const group = getegid();
        if (user == 0 ? unshare(CLONE_NEWNS) != 0 : unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        if (user != 0)
        {
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1\n";
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/gid_map") << "0 " << group << " 1\n";
        }
        return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=24m") == 0;
    }

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
            if (!MountSmallDisk(top))
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
    auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(minutes);
    WriterSettings own = settings;
    std::printf("seed %llu\n", static_cast<unsigned long long>(own.mSeed));
    do
    {
        for (std::size_t i = 0; i < rows.size(); ++i)
        {
            own.mIsStrict = i < gFaults.size();
            RunApart(*rows[i], [&](std::filesystem::path const& top)
                { RunOne(options, own, top, gFaults[i % gFaults.size()], *rows[i]); });
        }
        ++own.mSeed;
    } while (std::chrono::steady_clock::now() < end);
    return PrintTable(rows);
}
