#include "Campaign.h"

#include "Checker.h"

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

    /// One line of the table, in memory that the process which does it shares.
    struct Row
    {
        Fault const* mpFault;
        bool mIsStrict;
        Outcome mOutcome;
        bool mIsSkipped = false;
    };

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

    void RunOne(RunOptions options, WriterSettings settings, std::filesystem::path const& top, Row& row)
    {
        Fault const& fault = *row.mpFault;
        Ledger* const ledger = Ledger::Create();
        settings.mFolder = top / "d";
        settings.mLimit = kLimit;
        settings.mIsCampaign = true;
        settings.mIsStrict = row.mIsStrict;
        settings.mRetrySeconds = fault.mNeedsSmallDisk ? 1 : 0;
        settings.mUser = fault.mIsOrdinaryUser && geteuid() == 0 ? kOrdinaryUser : 0;
        if (fault.mNeedsSmallDisk)
        {
            options.mMilliseconds = std::max(options.mMilliseconds, kShortestFillMilliseconds);
            if (!MountSmallDisk(top))
            {
                row.mIsSkipped = true;
                return;
            }
        }
        std::filesystem::create_directory(settings.mFolder);
        std::filesystem::create_directory_symlink("d", top / "way");
        for (std::filesystem::path const& folder : {top, std::filesystem::path(settings.mFolder)})
            std::filesystem::permissions(folder, std::filesystem::perms{0777});
        Run run(options, settings, *ledger);
        Place place = run.MakePlace(top);
        run.Go(&fault, &place);
        CheckCampaign(settings, *ledger, run.GetStarted(), place, fault, row.mOutcome);
        bool const isGood = !run.HasFailed() && row.mOutcome.mIsGood;
        if (!isGood)
            std::printf("FAULT in '%s', %s, seed %llu\n", fault.mpName, row.mIsStrict ? "strict" : "basic",
                static_cast<unsigned long long>(settings.mSeed));
        row.mOutcome.mIsGood = isGood;
    }

    /// In a process of its own: it can have other mounts, and gives its memory back.
    void RunApart(RunOptions const& options, WriterSettings const& settings, Row& row)
    {
        std::string top = (std::filesystem::temp_directory_path() / "qzlog-campaign-XXXXXX").string();
        std::fflush(nullptr);
        if (!mkdtemp(top.data()))
            return;
        pid_t const id = fork();
        if (id == 0)
        {
            RunOne(options, settings, top, row);
            std::fflush(nullptr);
            _exit(0);
        }
        int status = 0;
        waitpid(id, &status, 0);
        std::filesystem::remove_all(top);
        if (status != 0)
            row.mOutcome.mIsGood = false;
    }

    void Print(std::vector<Row*> const& rows)
    {
        std::printf("%-22s %-7s %8s %10s %9s %9s %12s %13s\n", "fault", "", "tries", "records", "lost", "reported",
            "killed with", "not reported");
        for (Row const* const row : rows)
        {
            Outcome const& sum = row->mOutcome;
            std::printf("%-22s %-7s ", row->mpFault->mpName, row->mIsStrict ? "strict" : "basic");
            if (row->mIsSkipped)
                std::printf("skipped: no file system of its own here\n");
            else
                std::printf("%8llu %10llu %9llu %9llu %12llu %13llu%s\n", static_cast<unsigned long long>(sum.mTries),
                    static_cast<unsigned long long>(sum.mRecords), static_cast<unsigned long long>(sum.mLost),
                    static_cast<unsigned long long>(sum.mReported), static_cast<unsigned long long>(sum.mKilledWith),
                    static_cast<unsigned long long>(sum.mNotReported), sum.mIsGood ? "" : "  FAULT");
        }
    }
}

bool RunCampaigns(RunOptions const& options, WriterSettings const& settings, unsigned int minutes)
{
    std::vector<Row*> rows;
    for (bool const isStrict : {true, false})
        for (Fault const& fault : gFaults)
            rows.push_back(new (mmap(nullptr, sizeof(Row), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                    Row{&fault, isStrict, {}});
    auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(minutes);
    WriterSettings own = settings;
    std::printf("seed %llu\n", static_cast<unsigned long long>(own.mSeed));
    do
    {
        for (Row* const row : rows)
            RunApart(options, own, *row);
        ++own.mSeed;
    } while (std::chrono::steady_clock::now() < end);
    Print(rows);
    return std::ranges::all_of(rows, [](Row const* row) { return row->mOutcome.mIsGood; });
}
