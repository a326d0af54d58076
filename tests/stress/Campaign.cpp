#include "Campaign.h"

#include "Checker.h"
#include "Shared.h"
#include "Table.h"
#include "support/OwnMounts.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/syscall.h>

namespace
{
    constexpr unsigned int kNobody = 65534;
    constexpr unsigned int kLimit = 100'000;
    constexpr unsigned int kLongestPause = 1000; // in microseconds
    constexpr unsigned int kShortestFillMilliseconds = 3'000;

    /// Of the campaign that runs in this process.
    Ledger* gpLedger = nullptr;

    char const* Prepare(Fault const& fault, std::filesystem::path const& top)
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        if (fault.Has(kForks))
            return "a child of many threads cannot allocate under this sanitizer";
#endif
        if (fault.Has(kSmallDisk) && (!TakeOwnMounts() || mount("tmpfs", top.c_str(), "tmpfs", 0, "size=24m") != 0))
            return "no file system of its own here";
        if (fault.Has(kNoProc) && (!TakeOwnMounts() || mount("tmpfs", "/proc", "tmpfs", 0, nullptr) != 0))
            return "/proc cannot be hidden here";
        // Programs that read from standard input run until the campaign ends.
        int ends[2];
        return pipe2(ends, O_CLOEXEC) != 0 || dup2(ends[0], STDIN_FILENO) < 0 ? "no pipe" : nullptr;
    }

    void RunOne(
        RunOptions options, WriterSettings settings, std::filesystem::path const& top, Fault const& fault, Row& row)
    {
        gpLedger = CreateShared<Ledger>();
        settings.mFolder = top / "d";
        settings.mLimit = kLimit;
        settings.mHasWay = true;
        settings.mLongestPause = fault.Has(kHasty) ? 0 : kLongestPause;
        settings.mRetrySeconds = fault.Has(kPatient) ? 1 : 0;
        settings.mUser = fault.Has(kOrdinaryUser) && geteuid() == 0 ? kNobody : 0;
        if (fault.Has(kSmallDisk))
            options.mMilliseconds = std::max(options.mMilliseconds, kShortestFillMilliseconds);
        row.mpSkipped = Prepare(fault, top);
        if (row.mpSkipped)
            return;
        std::filesystem::create_directory(settings.mFolder);
        std::filesystem::create_directory_symlink("d", top / "way");
        for (std::filesystem::path const& folder : {top, std::filesystem::path(settings.mFolder)})
            std::filesystem::permissions(folder, std::filesystem::perms{0777});
        Run run(options, settings, *gpLedger,
            [&](unsigned int process)
            {
                KeepErrors();
                return fault.mpWork(settings, process, *gpLedger);
            });
        Place place = run.MakePlace(top);
        run.Go(
            [&]
            {
                fault.mpDo(place);
                ++place.mTries;
            });
        CheckCampaign(settings, *gpLedger, place, fault, row.mOutcome);
        bool const isGood = !run.HasFailed() && row.mOutcome.mIsGood;
        if (!isGood)
            std::printf("FAULT in '%s', %s, seed %llu\n", fault.mpName, row.mpMode,
                static_cast<unsigned long long>(settings.mSeed));
        row.mOutcome.mIsGood = isGood;
    }
}

/// Stands before the system's for the whole program, the library included.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    long const result = syscall(SYS_clock_gettime, clock, now);
    std::int64_t const shift = gpLedger && clock == CLOCK_REALTIME ? gpLedger->mClockShift.load() : 0;
    if (result != 0 || shift == 0)
        return static_cast<int>(result);
    std::int64_t const nanoseconds = now->tv_nsec + (shift % 1000 + 1000) % 1000 * 1'000'000;
    now->tv_sec += (shift - (shift % 1000 + 1000) % 1000) / 1000 + nanoseconds / 1'000'000'000;
    now->tv_nsec = nanoseconds % 1'000'000'000;
    return 0;
}

bool RunCampaigns(RunOptions const& options, WriterSettings const& settings, unsigned int minutes)
{
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    WriterSettings own = settings;
    std::vector<std::function<void(std::filesystem::path const& top, Row& row)>> works;
    std::vector<Row*> rows;
    auto const add = [&](char const* name, char const* mode, auto work)
    {
        if (std::string_view(name).find(options.mOnly) == std::string_view::npos)
            return;
        works.push_back(work);
        *rows.emplace_back(CreateShared<Row>()) = {name, mode, {}, nullptr};
    };
    add("flood", "strict", [&](auto const& top, Row& row) { RunFlood(top, options.mFlood, row); });
    add("hostile text and files", "tool",
        [&](auto const& top, Row& row) { RunHostile(top, options.mTool, options.mMilliseconds, own.mSeed, row); });
    for (bool const isStrict : {true, false})
        for (Fault const& fault : gFaults)
            if (isStrict || !fault.Has(kOnlyStrict))
                add(fault.mpName, isStrict ? "strict" : "basic",
                    [&, isStrict](auto const& top, Row& row)
                    {
                        own.mIsStrict = isStrict;
                        RunOne(options, own, top, fault, row);
                    });
    return RunTable(
        rows, minutes, own.mSeed, [&](std::size_t i, std::filesystem::path const& top) { works[i](top, *rows[i]); });
}
