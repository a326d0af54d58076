#include "destination/Destination_DiskFile_Impl.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileLocks.h"
#include "filesystem/KernelFaults.h"
#include "filesystem/Paths.h"
#include "filesystem/TemporaryFolder.h"
#include "os/Calls.h"
#include "support/ForkedChild.h"

#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <numeric>
#include <utility>

#include <sched.h>
#include <sys/file.h>
#include <sys/resource.h>

using namespace QzBase::Literals;
using namespace QzTest;
using QzLog::Destination_DiskFile_Impl;
using QzOs::Posix::Kernel;

namespace
{
    std::string const kHead = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";

    std::int64_t gNow = 0;

    constexpr std::int64_t kStart = 1'800'000'000'000; // 2027-01-15 08:00

    class DiskFileTest : public TemporaryFolder
    {
    protected:
        DiskFileTest()
        {
            gNow = kStart;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return gNow; };
            QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return 0; };
        }

        ~DiskFileTest() override
        {
            mpDestination.reset();
            QzOs::gCalls = mCalls;
        }

        /// The path as messages show it.
        std::string Path(std::string const& name) const
        {
            return Narrow(QzFileSystem::CombinePaths(WideIn(name), u""_w));
        }

        void Make(std::string const& name) { mpDestination = new Destination_DiskFile_Impl(Wide(Path(name))); }

        void Write(std::string const& text) { mpDestination->WriteMessage(text.c_str(), *mpHeader); }

        std::string Record(std::string const& text) const { return mpHeader->GetHeaderText() + (' ' + text) + "\r\n"; }

        /// The line about losses in a log, without its header; empty when there is none.
        std::string GetLossLine(std::string const& name) const
        {
            std::string const text = Get(name);
            std::size_t const start = text.find(" Missed ");
            return start == text.npos ? "" : text.substr(start + 1, text.find("\r\n", start) - start - 1);
        }

        QzOs::Calls const mCalls = QzOs::gCalls;
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
        QzBase::CountedPtr<Destination_DiskFile_Impl> mpDestination;
    };
}

TEST_F(DiskFileTest, WritesAHeadAndWholeRecords)
{
    Make("new/folder/x.log");
    EXPECT_EQ(Get("new/folder/x.log"), "");
    Write("\n");
    EXPECT_EQ(Get("new/folder/x.log"), kHead);
    Write("\n");
    Write("one");
    Write("two\nlines\n");
    EXPECT_EQ(Get("new/folder/x.log"), kHead + Record("one") + Record("two\r\nlines"));

    Destination_DiskFile_Impl& file = *mpDestination;
    EXPECT_EQ(file.GetMaxFileSize(), 2'000'000u);
    EXPECT_EQ(file.GetBackupCount(), 1u);
    file.SetMaxFileSize(4'000'000'000);
    file.SetBackupCount(1000);
    EXPECT_EQ(file.GetMaxFileSize(), 2'000'000'000u);
    EXPECT_EQ(file.GetBackupCount(), 256u);
}

TEST_F(DiskFileTest, ARecordIsFiveCallsOfTheKernel)
{
    Make("x.log");
    Watch<&Kernel::mpWritev> const writev; // of the head and the first record
    Watch<&Kernel::mpStat> const stat;
    Watch<&Kernel::mpFlock> const flock;
    Watch<&Kernel::mpLseek> const lseek;
    Watch<&Kernel::mpWrite> const write;
    Watch<&Kernel::mpFstat> const fstat;
    Watch<&Kernel::mpOpen> const open;
    Watch<&Kernel::mpSigmask> const sigmask;
    Watch<&Kernel::mpGetrlimit> const getrlimit;
    std::string const large(1'500'000, 'x'); // more than one call takes
    Write(large);
    Write("second");
    EXPECT_EQ(Get("x.log"), kHead + Record(large) + Record("second"));
    EXPECT_EQ((std::vector{stat.GetCount(), flock.GetCount(), lseek.GetCount(), writev.GetCount(), write.GetCount()}),
        (std::vector{2, 4, 2, 1, 2}));
    EXPECT_EQ(fstat.GetCount() + open.GetCount() + sigmask.GetCount() + getrlimit.GetCount(), 0);
}

TEST_F(DiskFileTest, RollsOverAtItsLimitIntoNumberedBackups)
{
    std::vector<int> all(256);
    std::iota(all.begin(), all.end(), 0);
    // Back-ups hold the number that they had before. That of the log is the first one afterwards.
    struct
    {
        char const* mpName;
        unsigned int mCount;
        std::vector<int> mBefore;
        std::vector<int> mAfter; // from number 1 on
    } const cases[] = {
        {"none", 2, {}, {}},
        {"count 0 is 1", 0, {0}, {}},
        {"the only one is replaced", 1, {0}, {}},
        {"room left", 3, {0, 1}, {0, 1}},
        {"all taken", 3, {0, 1, 2}, {0, 1}},
        {"a gap takes what is below it", 3, {0, 2}, {0, 2}},
        {"higher ones stay", 2, {0, 1, 2, 3}, {0, 2, 3}},
        {"three digits", 256, all, {all.begin(), all.end() - 1}},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Clear();
        // The longest name that leaves room for those of the back-ups.
        std::string const log(each.mCount > 100 ? 248 : 249, 'x');
        auto const nameOf = [&](std::size_t number)
        { return log + ".bak" + std::string(number < 10, '0') + std::to_string(number); };
        Make(log);
        Watch<&Kernel::mpRename> const rename;
        Write("old");
        std::string const old = kHead + Record("old");
        mpDestination->SetBackupCount(each.mCount);
        for (int const number : each.mBefore)
            Put(nameOf(static_cast<std::size_t>(number)), std::to_string(number));

        // One byte below the limit is not full, and the record is written whole.
        mpDestination->SetMaxFileSize(static_cast<unsigned int>(old.size() + 1));
        Write("more");
        std::string const full = old + Record("more");
        EXPECT_EQ(Get(log), full);
        mpDestination->SetMaxFileSize(static_cast<unsigned int>(full.size()));
        Write("new");
        Snapshot expected{{log, kHead + Record("new")}, {nameOf(0), full}};
        for (std::size_t i = 0; i < each.mAfter.size(); ++i)
            expected[nameOf(i + 1)] = std::to_string(each.mAfter[i]);
        EXPECT_EQ(TakeSnapshot(), expected);
        // What is deleted stays in its folder until then.
        EXPECT_TRUE(rename.GetCount() == 0 || !each.mAfter.empty());
    }
}

TEST_F(DiskFileTest, MakesItsBackupAnewForThoseWhoMayUseTheLog)
{
    struct
    {
        char const* mpName;
        std::function<int()> mMake;
        mode_t mLog = 0600;
        mode_t mBackup = mLog;
        bool mKeepsOwner = false; // the process is in no group of the log's
    } const cases[] = {
        {"pipe", [] { return mkfifo("x.log.bak00", 0666); }},
        {"link to the log", [] { return symlink("x.log", "x.log.bak00"); }},
        {"second name of another file", [] { return link("other", "x.log.bak00"); }},
        {"open to more than new files", [] { return 0; }, 0666},
        {"of a foreign group", [] { return 0; }, 0664, 0644, true},
    };
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Clear();
        Put("other", "another");
        Make("x.log");
        Write("old");
        std::filesystem::permissions("x.log", std::filesystem::perms(each.mLog));
        ASSERT_EQ(each.mMake(), 0);
        mpDestination->SetBackupCount(0);
        mpDestination->SetMaxFileSize(60);
        auto const fchown = std::exchange(QzOs::Posix::gKernel.mpFchown,
            each.mKeepsOwner ? [](int, uid_t, gid_t) { return errno = EPERM, -1; } : ::fchown);
        Write("new");
        QzOs::Posix::gKernel.mpFchown = fchown;
        EXPECT_EQ(TakeSnapshot(),
            (Snapshot{{"other", "another"}, {"x.log", kHead + Record("new")}, {"x.log.bak00", kHead + Record("old")}}));
        struct stat status;
        EXPECT_EQ(lstat("x.log.bak00", &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | each.mBackup);
    }
}

namespace
{
    /// A fault that lasts until it is dropped.
    using Fault = std::shared_ptr<void>;

    template <auto entry>
    Fault Fail(int error)
    {
        return Watch<entry>::Make(error, 0);
    }

    Fault UntilDropped(std::function<void()> undo)
    {
        return Fault(nullptr, [undo = std::move(undo)](void*) { undo(); });
    }

    Fault LimitTo(__rlimit_resource_t resource, rlim_t limit)
    {
        rlimit before;
        getrlimit(resource, &before);
        rlimit const now{limit, before.rlim_max};
        setrlimit(resource, &now);
        return UntilDropped([=] { setrlimit(resource, &before); });
    }

    /// Another program empties a file after its size was asked for.
    Fault EmptyMeanwhile()
    {
        QzOs::Posix::gKernel.mpLseek = [](int file, off_t offset, int origin)
        {
            off_t const position = ::lseek(file, offset, origin);
            return ftruncate(file, 0) == 0 ? position : -1;
        };
        return UntilDropped([] { QzOs::Posix::gKernel.mpLseek = ::lseek; });
    }

    bool IsLocked(std::string const& path)
    {
        QzFileSystem::File::ScopedDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        return flock(file.Get(), LOCK_EX | LOCK_NB) != 0;
    }

    struct Case
    {
        char const* mpName;
        std::function<Fault()> mMake;
        std::string mReason; // none: nothing is lost
        bool mIsFull = false;
    };
}

TEST_F(DiskFileTest, CountsWhatItLosesAndTellsWhy)
{
    std::string const log = In("x.log");
    std::string const quoted = "'" + Path("x.log") + "'.";
    std::string const noWrite =
        "Failed to write " + std::to_string(Record("lost 1").size()) + " bytes to file " + quoted;
    std::string const backup = Path("x.log.bak00");
    std::string const noBackup = "QzFileSystem::File::OpenDescriptor: ::CreateFileW failed for '" + backup + "'. ";
    std::string const text = "QzLog::Destination_DiskFile_Impl::WriteMessage: ";
    std::string const noCopy = text + "::write failed for file " + backup + ".";
    std::string const race = text + "detected a race condition with " + quoted + " Maximum file size is 60 bytes.";
    auto const replaceBy = [&](auto replace)
    {
        return [=, this]
        {
            Put("other", "another");
            std::filesystem::remove(log);
            replace(In("other"), log);
            return Fault();
        };
    };
    Case const cases[] = {
        {"signal in the wait", [] { return Fail<&Kernel::mpFlock>(EINTR); }, ""},
        {"unlock", [] { return Watch<&Kernel::mpFlock>::Make(EIO, 1); }, ""},
        {"emptied", EmptyMeanwhile, ""},
        {"deleted", [&] { return std::filesystem::remove(log), nullptr; }, ""},
        {"renamed", [&] { return std::filesystem::rename(log, log + "1"), nullptr; }, ""},
        {"lock", [] { return Fail<&Kernel::mpFlock>(ENOLCK); }, "Failed to lock file " + quoted},
        {"seek", [] { return Fail<&Kernel::mpLseek>(EIO); }, "Failed to set current position of file " + quoted},
        {"disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); }, noWrite},
        {"limit of file sizes", [] { return LimitTo(RLIMIT_FSIZE, 50); }, noWrite},
        {"full: move",
            [&]
            {
                Put("x.log.bak00", "");
                return MakeFolder("x.log.bak01"), nullptr;
            },
            "Failed to move file '" + backup + "' to '" + Path("x.log.bak01") + "'.", true},
        {"full: back-up taken by a folder", [&] { return MakeFolder("x.log.bak00"), nullptr; },
            noBackup + "Is a directory", true},
        {"full: no descriptor", [] { return LimitTo(RLIMIT_NOFILE, 0); }, noBackup + "Too many open files", true},
        {"full: read", [] { return Fail<&Kernel::mpRead>(EIO); }, "Failed to read 262144 bytes from file " + quoted,
            true},
        {"full: disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); }, noCopy, true},
        {"full: disk full at the close", [] { return Fail<&Kernel::mpClose>(ENOSPC); }, noCopy, true},
        {"full: truncate", [] { return Fail<&Kernel::mpFtruncate>(EIO); }, "Failed to truncate file " + quoted, true},
        {"full: replaced", replaceBy([](auto const& from, auto const& to) { std::filesystem::rename(from, to); }), race,
            true},
        {"full: replaced by a link",
            replaceBy([](auto const& from, auto const& to) { std::filesystem::create_symlink(from, to); }), race, true},
    };
    for (Case const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Clear();
        Make("x.log");
        mpDestination->SetBackupCount(2);
        Write("first");
        if (each.mIsFull)
            mpDestination->SetMaxFileSize(60);
        Fault fault = each.mMake();
        Write("lost 1");
        fault.reset();
        EXPECT_FALSE(IsLocked(log));
        EXPECT_EQ(Get("x.log").find('\0'), std::string::npos);
        bool const loses = !each.mReason.empty();
        gNow -= 3'600'000; // the clock is set back
        for (int i = 0; i < 2 && loses; ++i)
            Write("lost");
        gNow = kStart;
        mpDestination->SetMaxFileSize(1000);
        gNow += 299'999;
        if (loses)
            Write("lost too");
        gNow += 1;
        Write("again");
        EXPECT_TRUE(Get("x.log").ends_with(Record("again")));
        EXPECT_EQ(GetLossLine("x.log"),
            loses ? "Missed 4 messages since 2027-01-15 08:00:00.000 due to: " + each.mReason : "");
        gNow = kStart;
    }
}

TEST_F(DiskFileTest, KeepsItsContentOnAFullDisk)
{
    std::string const old = kHead + Record("old");
    Make("x.log");
    Write("old");
    mpDestination->SetMaxFileSize(60);
    mpDestination->SetBackupCount(3);
    Put("x.log.bak00", "0");
    Put("x.log.bak01", "1");
    auto const write = std::exchange(
        QzOs::Posix::gKernel.mpWrite, [](int, void const*, std::size_t) -> ssize_t { return errno = ENOSPC, -1; });
    for (int message = 0; message < 6; ++message, gNow += 300'000)
    {
        Write("lost: by a roll-over, or by the line about losses, which leaves the file open");
        EXPECT_EQ(Get("x.log"), old);
        if (message == 0)
        {
            EXPECT_EQ(TakeSnapshot(),
                (Snapshot{{"x.log", old}, {"x.log.bak00", ""}, {"x.log.bak01", "0"}, {"x.log.bak02", "1"}}));
        }
    }
    QzOs::Posix::gKernel.mpWrite = write;
    Write("again");
    EXPECT_EQ(Get("x.log"), kHead + Record("again"));
    EXPECT_EQ(Get("x.log.bak00"), old);
    // What the line could not tell waits for the next loss of the file.
    mpDestination->SetMaxFileSize(1000);
    std::filesystem::remove(In("x.log"));
    Write("more");
    EXPECT_EQ(GetLossLine("x.log").find("Missed 2 messages since 2027-01-15 08:20:00.000 due to: "), 0u);
}

TEST_F(DiskFileTest, MakesItsFolderAlsoBesideOthersAndBelowTheRoot)
{
    // Another process makes each folder of the same tree a moment earlier.
    auto const mkdir = std::exchange(QzOs::Posix::gKernel.mpMkdir,
        [](char const* path, mode_t mode) { return ::mkdir(path, mode), errno = EEXIST, -1; });
    Make("race/of/x.log");
    QzOs::Posix::gKernel.mpMkdir = mkdir;
    Write("text");
    EXPECT_EQ(Get("race/of/x.log"), kHead + Record("text"));

    constexpr int kNoRoot = 77;
    auto const inChild = [&]
    {
        if ((geteuid() != 0 && unshare(CLONE_NEWUSER) != 0) || chroot(mFolder.c_str()) != 0)
            return kNoRoot;
        for (unsigned short const* const path : {u"\\newdir\\app.log"_w, u"\\app.log"_w})
        {
            mpDestination = new Destination_DiskFile_Impl(path);
            Write("text");
        }
        return 0;
    };
    int const status = RunInChild(inChild);
    if (WEXITSTATUS(status) == kNoRoot)
        GTEST_SKIP() << "needs the right to change the root directory";
    EXPECT_EQ(status, 0);
    for (char const* const name : {"newdir/app.log", "app.log"})
        EXPECT_EQ(Get(name), kHead + Record("text")) << name;
}

TEST_F(DiskFileTest, WaitsForAFileThatCannotBeMade)
{
    std::string const noReason = "1899-12-30 00:00:00.000 due to: ";
    Case const cases[] = {
        {"a folder in its place", [&] { return MakeFolder("d/x.log"), nullptr; }, noReason},
        {"its folder removed", [&] { return std::filesystem::remove(In("d")), nullptr; }, noReason},
        {"permission taken away",
            [&]
            {
                // Root needs none, so it becomes somebody else meanwhile.
                std::filesystem::permissions(In("d"), std::filesystem::perms::none);
                uid_t const user = geteuid();
                if (user == 0 && seteuid(65534) != 0)
                    ADD_FAILURE() << "cannot give up root's rights";
                return UntilDropped(
                    [=, this]
                    {
                        seteuid(user);
                        std::filesystem::permissions(In("d"), std::filesystem::perms::owner_all);
                    });
            },
            noReason},
        {"no place for its folder from the start",
            [&]
            {
                std::filesystem::remove(In("d"));
                Put("d", "");
                return Make("d/x.log"), nullptr;
            },
            "2027-01-15 08:00:00.000 due to: Failed to create directory '" + Path("d") + "'."},
    };
    for (Case const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Make("d/x.log");
        std::filesystem::remove(In("d/x.log"));
        Fault fault = each.mMake();
        Write("lost: by an attempt, or by the interval after the first one");
        gNow += 299'999;
        Write("lost by the interval");
        gNow += 1;
        Write("lost by an attempt");
        fault.reset();
        std::filesystem::remove_all(In("d"));
        MakeFolder("d");
        gNow += 299'999;
        Write("lost by the interval, which the attempt began anew");
        gNow += 1;
        Write("again");
        EXPECT_TRUE(Get("d/x.log").starts_with(kHead) && Get("d/x.log").ends_with(Record("again")));
        EXPECT_EQ(GetLossLine("d/x.log"), "Missed 4 messages since " + each.mReason);
        gNow = kStart;
    }
}

TEST_F(DiskFileTest, StampsTheLossLineWithTheThreadsHeader)
{
    QzLog::Initializer const initializer;
    Make("x.log");
    Fault fault = Fail<&Kernel::mpFlock>(ENOLCK);
    Write("lost");
    fault.reset();
    gNow += 300'000;
    Write("again");
    std::string const text = Get("x.log");
    std::string const place = "[PID:" + std::to_string(getpid()) + "][THR:" + std::to_string(gettid()) + ']';
    EXPECT_NE(text.find("\r\n2027-01-15 08:05:00.000 [HOST:"), text.npos);
    EXPECT_NE(text.find(place + "[Log][Error][UID:0][SID:0][OID:0] Missed 1 messages since"), text.npos);

    // What is no failure of the file goes to the caller.
    MakeFolder("d");
    std::filesystem::rename(In("x.log"), In("d/x.log"));
    QzOs::gCalls.mpGetUTCMilliseconds = []() -> std::int64_t { throw std::bad_alloc(); };
    EXPECT_THROW(Write("text"), std::bad_alloc);
}

TEST_F(DiskFileTest, AForkedChildTellsItsOwnLosses)
{
    Make("x.log");
    Fault fault = Fail<&Kernel::mpFlock>(ENOLCK);
    Write("lost by the parent");
    fault.reset();
    ExpectInChild(
        [&]
        {
            Write("lost by the child");
            gNow += 300'000;
            Write("again");
            return GetLossLine("x.log").find("Missed 1 messages since 2027-01-15 08:00:00.000 due to: Failed") == 0;
        });
}

TEST_F(DiskFileTest, AForkedChildWritesThroughItsOwnOpenFile)
{
    // A child that inherited the busy thread's lock would wait for ever, and one that shared the parent's open file
    // would share its lock and its position too, so that records were lost.
    constexpr std::size_t kChildren = 8;
    constexpr std::size_t kRecords = 100;
    Make("x.log");
    mpDestination->SetMaxFileSize(1'000'000'000); // however fast the busy thread is
    QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
    std::size_t busyRecords = 0;
    ExpectInChildrenOfBusyParent(
        kChildren,
        [&]
        {
            mpDestination->WriteMessage("busy", *header);
            ++busyRecords;
        },
        [&]
        {
            for (std::size_t record = 0; record < kRecords; ++record)
                Write("child");
            return true;
        });
    if (IsSkipped())
        return;
    EXPECT_EQ(Get("x.log").size(),
        kHead.size() + Record("child").size() * kChildren * kRecords + Record("busy").size() * busyRecords);
}

TEST_F(DiskFileTest, AForkPassesWhoWaitsForTheLockOnTheFile)
{
    Make("x.log");
    auto const other = QzFileSystem::CreateUpdateableFile(WideIn("x.log"), QzFileSystem::KeepOnClose);
    QzFileSystem::FileWriteLock lock(*other);
    LockWatch const watch;
    std::jthread waiting([&] { Write("parent"); });
    watch.Await();
    EXPECT_EQ(mpDestination->GetBackupCount(), 1u);
    ExpectInChild(
        [&]
        {
            lock.Unlock(); // for the parent too, which has the same open file
            Write("child");
            return true;
        });
    waiting.join();
    EXPECT_EQ(Get("x.log").size(), (kHead + Record("parent") + Record("child")).size());
}

TEST_F(DiskFileTest, AForkedChildWithoutProcLosesNothing)
{
    auto const previous = std::exchange(QzOs::Posix::gKernel.mpOpen, OpenWithoutProc);
    Make("x.log");
    Write("parent");
    ExpectInChild([&] { return Write("child"), true; });
    EXPECT_EQ(Get("x.log").size(), (kHead + Record("parent") + Record("child")).size());
    // What the parent has open cannot be opened any more.
    std::filesystem::rename(In("x.log"), In("moved.log"));
    Put("x.log", "");
    ExpectInChild([&] { return Write("child"), true; });
    EXPECT_EQ(Get("x.log").size(), (kHead + Record("child")).size());
    QzOs::Posix::gKernel.mpOpen = previous;
}
