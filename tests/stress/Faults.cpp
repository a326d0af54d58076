#include "Faults.h"

#include "Hosts.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
    void Pause(Place& place)
    {
        usleep(static_cast<useconds_t>(place.mRandom() % 10'000));
    }

    /// Takes the log away under another name.
    void Rename(Place& place)
    {
        fs::path const kept = place.MakeName();
        std::error_code error;
        fs::rename(place.mLog, kept, error);
        if (!error)
            place.NoteTaken(kept);
    }

    /// Puts something at once in the place of the log.
    void ReplaceBy(Place& place, fs::path const& replacement)
    {
        // In one step: a log that a writer has created meanwhile must be kept.
        auto const rename = [&](unsigned int flags)
        { return renameat2(AT_FDCWD, replacement.c_str(), AT_FDCWD, place.mLog.c_str(), flags) == 0; };
        while (!rename(RENAME_EXCHANGE) && (errno != ENOENT || !rename(RENAME_NOREPLACE)))
        {
            // A file system that cannot do it.
            if (errno == EINVAL || errno == ENOSYS)
                return Rename(place);
            if (errno != EEXIST)
                std::abort();
        }
        place.NoteTaken(replacement);
    }

    void ReplaceByFile(Place& place)
    {
        fs::path const file = place.MakeName();
        std::ofstream{file};
        fs::permissions(file, fs::perms{0666});
        ReplaceBy(place, file);
    }

    void ReplaceByLink(Place& place)
    {
        fs::path const link = place.MakeName();
        fs::create_symlink(place.MakeName(), link);
        ReplaceBy(place, link);
        Pause(place);
        Rename(place);
    }

    /// Puts something in the place of the log that is no log, for a while.
    template <class Make>
    void ReplaceFor(Place& place, Make make)
    {
        while (!make())
            Rename(place);
        Pause(place);
        fs::remove(place.mLog);
    }

    void ReplaceByFolder(Place& place)
    {
        ReplaceFor(place, [&] { return mkdir(place.mLog.c_str(), 0777) == 0; });
    }

    void ReplaceByPipe(Place& place)
    {
        ReplaceFor(place, [&] { return mkfifo(place.mLog.c_str(), 0666) == 0; });
    }

    void ReplaceByDevice(Place& place)
    {
        ReplaceFor(place, [&] { return symlink("/dev/null", place.mLog.c_str()) == 0; });
    }

    void TakeFolder(Place& place)
    {
        fs::path const kept = place.MakeName();
        fs::rename(place.mLog.parent_path(), kept);
        place.NoteTaken(kept / place.mLog.filename());
        Pause(place);
        std::error_code error;
        fs::create_directory(place.mLog.parent_path(), error);
    }

    void ForbidFolder(Place& place)
    {
        fs::path const folder = place.mLog.parent_path();
        chmod(folder.c_str(), 0);
        Pause(place);
        chmod(folder.c_str(), 0777);
    }

    /// Empties the log as who shares its lock does.
    void Empty(Place& place)
    {
        int const file = open(place.mLog.c_str(), O_RDWR | O_CLOEXEC);
        if (file < 0)
            return;
        flock(file, LOCK_EX);
        fs::copy_file("/proc/self/fd/" + std::to_string(file), place.MakeName());
        if (ftruncate(file, 0) != 0)
            std::abort();
        close(file);
    }

    void Signal(Place& place, int signal)
    {
        if (!place.mRunning.empty())
            kill(std::next(place.mRunning.begin(), static_cast<int>(place.mRandom() % place.mRunning.size()))->first,
                signal);
    }

    void StopOne(Place& place)
    {
        Signal(place, SIGSTOP);
        Pause(place);
        for (auto const& [id, number] : place.mRunning)
            kill(id, SIGCONT);
    }

    void KillOne(Place& place)
    {
        Signal(place, SIGKILL);
    }

    /// For several intervals of the writers.
    void FillDisk(Place& place)
    {
        fs::path const ballast = place.mTop / "ballast";
        {
            std::ofstream file(ballast, std::ios::binary);
            std::string const block(4096, 'x');
            while (file.write(block.data(), static_cast<std::streamsize>(block.size())).flush())
                continue;
        }
        usleep(static_cast<useconds_t>(300'000 + place.mRandom() % 2'000'000));
        fs::remove(ballast);
    }

    void Nothing(Place&) {}

    std::int64_t GetRealMilliseconds()
    {
        timeval now;
        gettimeofday(&now, nullptr);
        return std::int64_t{now.tv_sec} * 1000 + now.tv_usec / 1000;
    }

    void SetClock(Place& place, std::int64_t shift)
    {
        if (place.mClocks.empty())
            place.mClocks.push_back(static_cast<std::time_t>(GetRealMilliseconds() / 1000));
        place.mLedger.mClockShift = shift;
        place.mClocks.push_back(static_cast<std::time_t>((GetRealMilliseconds() + shift) / 1000));
    }

    /// An hour forth and back, while the log is lost and not: that is over soon after its reason is.
    void JumpClock(Place& place)
    {
        for (std::int64_t const hours : {1, -1, -1, 1})
        {
            TakeFolder(place);
            SetClock(place, place.mLedger.mClockShift + hours * 3'600'000);
            for (int i = 0; !fs::exists(place.mLog); ++i)
                i < 3000 ? Pause(place) : std::abort();
        }
    }

    /// Through one of the two changes that the zone of all campaigns has.
    void ChangeToOrFromSummerTime(Place& place)
    {
        constexpr std::int64_t kChanges[] = {29'579'100, 29'881'500}; // in minutes
        SetClock(place, kChanges[place.mRandom() % 2] * 60'000 - 20 - GetRealMilliseconds());
        usleep(40'000);
    }

    void DoAny(Place& place);
}

std::vector<Fault> const gFaults{
    {"none", Nothing, kHasty},
    {"removed", Rename},
    {"replaced by a file", ReplaceByFile},
    {"replaced by a link", ReplaceByLink},
    {"replaced by a folder", ReplaceByFolder},
    {"replaced by a pipe", ReplaceByPipe},
    {"replaced by a device", ReplaceByDevice, kUncounted},
    {"folder removed", TakeFolder, kDoubles},
    {"folder forbidden", ForbidFolder, kOrdinaryUser | kDoubles},
    {"emptied by others", Empty},
    {"writers stopped", StopOne},
    {"writers killed", KillOne, kKills | kDoubles | kHasty},
    {"all of these", DoAny, kKills | kOrdinaryUser | kDoubles | kUncounted},
    {"disk full", FillDisk, kSmallDisk | kPatient},
    {"forks", Nothing, kOnlyStrict | kForks, RunForks},
    {"forks while lost", TakeFolder, kDoubles | kOnlyStrict | kForks, RunForks},
    {"forks without /proc", Rename, kOnlyStrict | kForks | kNoProc, RunForks},
    {"no descriptors 0 to 2", Nothing, kOnlyStrict | kForks, RunClosedDescriptors},
    {"fork handlers", TakeFolder, kDoubles | kOnlyStrict | kForks, RunForkHandlers},
    {"exec and kills", KillOne, kKills | kDoubles | kHasty | kOnlyStrict, RunExec},
    {"threads start and end", TakeFolder, kDoubles | kOnlyStrict, RunShortThreads},
    {"module restarts", TakeFolder, kDoubles | kOnlyStrict, RunRestarts},
    {"static destruction", TakeFolder, kDoubles | kOnlyStrict, RunExit},
    {"clock jumps", JumpClock, kDoubles | kOnlyStrict | kPatient},
    {"summer time", ChangeToOrFromSummerTime},
};

namespace
{
    void DoAny(Place& place)
    {
        constexpr std::size_t kOthers = 11; // before this one
        gFaults[1 + place.mRandom() % kOthers].mpDo(place);
    }
}

fs::path Place::MakeName()
{
    return mTop / ("kept" + std::to_string(mTries) + '_' + std::to_string(mRandom()));
}

void Place::NoteTaken(fs::path const& file)
{
    Begun& begun = mTaken[file];
    begun.resize(mLedger.mStarted);
    for (std::size_t process = 0; process < begun.size(); ++process)
        for (unsigned int thread = 0; thread < Ledger::kMaxThreads; ++thread)
            begun[process][thread] = mLedger.mProcesses[process].mThreads[thread].mBegun;
}
