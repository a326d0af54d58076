#include "destination/DiskFileTest.h"
#include "support/ForkedChild.h"

#include <QzLog/Module.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <algorithm>

using namespace QzTest;
using QzOs::Posix::gKernel;
using QzOs::Posix::Kernel;

namespace
{
    std::vector<std::string> gSaid;

    class StrictRecoveryTest : public DiskFileTest
    {
    protected:
        StrictRecoveryTest()
        {
            gSaid.clear();
            QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const* text) { gSaid.push_back(Narrow(text)); };
        }

        void MakeStrict(std::string const& name)
        {
            Make(name);
            mpDestination->SetRecovery(QzLog::kRecoveryStrict);
        }

        /// Every write ends after some bytes.
        static void FillDisk()
        {
            gKernel.mpWrite = [](int file, void const* data, std::size_t size) -> ssize_t
            { return size < 8 ? (errno = ENOSPC, -1) : ::write(file, data, 7); };
        }
    };

    class Observer : public QzSynch::Counted<QzLog::LossObserver>
    {
    public:
        void OnLossesBegan(QzLog::LossRun const& run) override { Note("began ", run); }
        void OnLossesReported(QzLog::LossRun const& run) override { Note("reported ", run); }

        std::function<void()> mAction = [] {};
        std::vector<std::string> mCalls;

    private:
        void Note(char const* what, QzLog::LossRun const& run)
        {
            mCalls.push_back(what + std::to_string(run.mCount) + ' ' + run.mpReason);
            std::exchange(mAction, [] {})();
        }
    };
}

TEST_F(StrictRecoveryTest, FollowsThePath)
{
    namespace fs = std::filesystem;
    std::string const log = In("d/x.log");
    struct
    {
        char const* mpName;
        std::function<void()> mChange;
        std::string mReason; // none: nothing is lost
    } const cases[] = {{"deleted", [&] { fs::remove(log); }, ""},
        {"replaced by a file", [&] { fs::rename(In("other"), log); }, ""},
        {"folder removed", [&] { fs::remove_all(In("d")); }, ""},
        {"replaced by a folder", [&] { fs::remove(log), MakeFolder("d/x.log"); },
            "QzFileSystem::UpdateableFileImpl::UpdateableFileImpl: ::CreateFileW failed for '" + Path("d/x.log") +
                "'. Is a directory"},
        {"replaced by a pipe", [&] { fs::remove(log), mkfifo(log.c_str(), 0666); },
            '\'' + Path("d/x.log") + "' is a pipe, a device or a socket."},
        {"replaced by a device", [&] { fs::remove(log), fs::create_symlink("/dev/null", log); },
            '\'' + Path("d/x.log") + "' is a pipe, a device or a socket."},
        {"folder replaced by a file", [&] { fs::remove_all(In("d")), Put("d", ""); },
            "Failed to create directory '" + Path("d") + "'. File exists"}};
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Clear();
        Put("other", "");
        MakeStrict("d/x.log");
        // A file that has just failed is followed all the same.
        Lose("lost");
        gNow += 300'000;
        Write("first");
        gSaid.clear();
        each.mChange();
        // Without /proc a forked child opens what is at the path.
        gKernel.mpOpen = OpenWithoutProc;
        ExpectInChild(
            [&]
            {
                Write("child");
                QzLog::DiskFileStatistics const own = mpDestination->GetStatistics();
                return own.mRecords == each.mReason.empty() && own.mRecords + own.mLossesWaiting == 1;
            });
        gKernel.mpOpen = mKernel.mpOpen;
        if (!each.mReason.empty())
        {
            Write("lost");
            Write("lost by the interval");
            EXPECT_EQ(gSaid, std::vector{"QzLog: messages are being lost, log file '" + Path("d/x.log") +
                                         "': " + each.mReason + "\r\n"});
            fs::remove_all(In("d"));
            gNow += 299'999;
            Write("lost by the interval");
            gNow += 1;
        }
        Write("again");
        std::string const text = Get("d/x.log");
        EXPECT_TRUE(text.starts_with(kHead) && text.ends_with(Record("again")));
        EXPECT_EQ(text.find("first"), text.npos);
        EXPECT_EQ(GetLossLine("d/x.log"),
            each.mReason.empty() ? "" : "Missed 3 messages since 2027-01-15 08:05:00.000 due to: " + each.mReason);
        gNow = kStart;
    }
}

TEST_F(StrictRecoveryTest, ReportsEachRunOnceAndInOrder)
{
    MakeStrict("x.log");
    Write("first");
    // A child that can open no file does not write into its parent's, whose lock would be the child's too.
    auto noFile = Watch<&Kernel::mpOpen>::Make(EMFILE, 0, kAlways);
    ExpectInChild([&] { return Write("child"), mpDestination->GetStatistics().mLossesWaiting == 1; });
    noFile.reset();
    std::string const before = Get("x.log");
    mpDestination->SetRetryInterval(60);
    QzBase::CountedPtr<Observer> const observer(new Observer);
    observer->mAction = [&] { Write("lost too, by the one who observes"); };
    mpDestination->SetLossObserver(observer.get());

    FillDisk();
    for (int attempt = 0; attempt < 3; ++attempt, gNow += 60'000)
        for (int i = 0; i < 10; ++i)
            Write("lost " + std::string(static_cast<std::size_t>(attempt), 'x'));
    EXPECT_EQ(Get("x.log"), before); // nothing is left half
    gKernel.mpWrite = mKernel.mpWrite;
    Lose("lost for another reason");
    gNow -= 3'600'000; // the clock is set back: no reason to wait
    Write("again");
    std::string const full =
        "Failed to write " + std::to_string(Record("lost ").size() - 7) + " bytes to file '" + Path("x.log") + "'.";
    std::string const locked = "Failed to lock file '" + Path("x.log") + "'. No locks available";
    EXPECT_EQ(GetLossLines("x.log"), (std::vector{"Missed 31 messages since 2027-01-15 08:00:00.000 due to: " + full,
                                         "Missed 1 messages since 2027-01-15 08:03:00.000 due to: " + locked}));
    EXPECT_TRUE(Get("x.log").ends_with(Record("again")));
    EXPECT_EQ(observer->mCalls,
        (std::vector{"began 1 " + full, "began 1 " + locked, "reported 31 " + full, "reported 1 " + locked}));
    QzLog::DiskFileStatistics const figures = mpDestination->GetStatistics();
    EXPECT_EQ((std::vector{figures.mRecords, figures.mBytes, figures.mLossesReported, figures.mLossesWaiting}),
        (std::vector<std::uint64_t>{2, Get("x.log").size(), 32, 0}));
    EXPECT_NE(figures.mLongestLockWaitNanoseconds, 0u);

    // Two reasons by turns: the 17th run is joined with those before it, and so is the 33rd. All are announced.
    mpDestination->SetRetryInterval(0);
    for (int i = 0; i < 33; ++i)
    {
        Watch<&Kernel::mpFlock> const flock(ENOLCK, i % 2 == 0 ? 0 : 10);
        Watch<&Kernel::mpLseek> const lseek(EIO);
        Write("lost");
    }
    Write("again");
    EXPECT_EQ(GetLossLines("x.log").size(), 3u);
    EXPECT_EQ(GetLossLines("x.log").back(),
        "Missed 33 messages since 2027-01-15 07:03:00.000 due to: " + locked + " And other reasons.");
    EXPECT_EQ(observer->mCalls.size(), 4u + 33u + 1u);
}

TEST_F(StrictRecoveryTest, TriesOnceMoreWhenItIsDestroyed)
{
    for (std::size_t const reported : {0u, 1u, 2u})
    {
        MakeStrict("x.log");
        mpDestination->SetRetryInterval(0);
        for (int const error : {ENOLCK, EIO})
            Lose("lost", error);
        gSaid.clear();
        QzBase::CountedPtr<Observer> const observer(new Observer);
        observer->mAction = [] { throw QzBase::Message(); };
        mpDestination->SetLossObserver(observer.get());
        auto const noLock = reported == 0 ? Watch<&Kernel::mpFlock>::Make(EWOULDBLOCK, 0, kAlways) : nullptr;
        auto const noRoom = reported == 1 ? Watch<&Kernel::mpWrite>::Make(ENOSPC, 0) : nullptr; // the first is a writev
        mpDestination.reset();
        EXPECT_EQ(GetLossLines("x.log").size(), reported);
        // An observer that throws keeps no other notice back.
        EXPECT_EQ(observer->mCalls.size(), reported);
        EXPECT_EQ(gSaid.size(), 2 - reported);
        Clear();
    }
}

TEST_F(StrictRecoveryTest, TakesLossesAlongWhereverItGoes)
{
    Make("x.log");
    Lose("lost with basic recovery");
    ExpectInChild(
        [&]
        {
            Write("lost by the child");
            gNow += 300'000;
            Write("again");
            return GetLossLine("x.log").starts_with("Missed 1 messages since 2027-01-15 08:00:00.000 due to: Failed");
        });
    mpDestination->SetRecovery(QzLog::kRecoveryStrict);
    EXPECT_EQ(mpDestination->GetRecovery(), QzLog::kRecoveryStrict);
    Lose("lost with strict recovery");
    ExpectInChild([&] { return gNow += 300'000, Write("child"), GetLossLines("x.log").size() == 1; });
    mpDestination->SetFilePath(WideIn("y.log"));
    Write("text");
    EXPECT_EQ(GetLossLines("y.log").size(), 2u);

    Lose("lost");
    mpDestination->SetRecovery(static_cast<QzLog::Recovery>(7)); // counts as basic
    Write("text");
    EXPECT_EQ(GetLossLines("y.log").size(), 3u);
}

TEST_F(StrictRecoveryTest, AKilledRollOverLosesNothing)
{
    int calls = 0;
    int doubles = 0;
    for (auto const makeKill : {Watch<&Kernel::mpOpen>::Make, Watch<&Kernel::mpWrite>::Make,
             Watch<&Kernel::mpRenameat2>::Make, Watch<&Kernel::mpUnlink>::Make, Watch<&Kernel::mpFtruncate>::Make})
        for (int status = kKill, skip = 0; status != 0; ++skip, ++calls)
        {
            SCOPED_TRACE(calls);
            Clear();
            MakeStrict("x.log");
            mpDestination->SetBackupCount(3);
            Write("old");
            std::string const old = Get("x.log");
            mpDestination->SetMaxFileSize(60);
            for (int number = 0; number < 3; ++number)
                Put("x.log.bak0" + std::to_string(number), std::to_string(number));
            status = RunInChild(
                [&]
                {
                    auto const kill = makeKill(kKill, skip, 1);
                    Write("killed");
                    return 0;
                });
            Write("again");
            Write("last");
            // A kill just before the log is emptied has it copied once more.
            std::vector<std::string> backups{kHead + Record("again"), old};
            if (status == 0)
                backups.insert(backups.begin() + 1, kHead + Record("killed"));
            else if (Get("x.log.bak02") == old)
                ++doubles, backups.push_back(old);
            else
                backups.push_back("0");
            EXPECT_EQ(TakeSnapshot(), (Snapshot{{"x.log", kHead + Record("last")}, {"x.log.bak00", backups[0]},
                                          {"x.log.bak01", backups[1]}, {"x.log.bak02", backups[2]}}));
        }
    EXPECT_EQ(doubles, 1);
    EXPECT_GT(calls, 8 + 5);
}

TEST_F(StrictRecoveryTest, ALogThatIsEmptyAfterAFailureIsInItsBackup)
{
    MakeStrict("x.log");
    Write("old");
    mpDestination->SetMaxFileSize(60);
    gKernel.mpFtruncate = [](int file, off_t size) { return ::ftruncate(file, size), errno = EIO, -1; };
    Write("lost");
    // With the limit 0 the empty file is full, but no back-up.
    gKernel.mpFtruncate = mKernel.mpFtruncate;
    mpDestination->SetRetryInterval(0);
    mpDestination->SetMaxFileSize(0);
    Write("lost");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"x.log", ""}, {"x.log.bak00", kHead + Record("old")}}));
}

TEST_F(StrictRecoveryTest, RollOversOfTwoFilesAtOnceLoseNothing)
{
    // What happens amid the first roll-over, before one of its renames: the log is taken away, and the next one is
    // full.
    static std::function<void()> gOther;
    static int gSkip;
    static bool gHasFlags; // a few file systems have none
    gKernel.mpRenameat2 = [](auto... arguments)
    {
        if (gSkip-- == 0)
            gOther();
        return gHasFlags ? ::renameat2(arguments...) : (errno = EINVAL, -1);
    };
    auto const make = [&]
    {
        MakeStrict("x.log");
        mpDestination->SetMaxFileSize(60);
        mpDestination->SetBackupCount(9);
    };
    for (int const skip : {0, 1, 2, 3, 4, 5, 6, 7})
    {
        SCOPED_TRACE(skip);
        Clear();
        gHasFlags = skip < 4;
        std::vector<std::string> texts{"zero", "one", "two", Record("a"), Record("b"), Record("c"), Record("d")};
        for (int number = 0; number < 3; ++number)
            Put("x.log.bak0" + std::to_string(number), texts[static_cast<std::size_t>(number)]);
        gSkip = skip % 4;
        gOther = [&]
        {
            std::filesystem::rename(In("x.log"), In("kept"));
            auto const first = std::exchange(mpDestination, nullptr);
            make();
            Write("b");
            Write("c");
            mpDestination = first;
        };
        make();
        Write("a");
        Write("d");
        EXPECT_LT(gSkip, 0);
        Snapshot const files = TakeSnapshot();
        for (std::string const& text : texts)
            EXPECT_EQ(std::ranges::count_if(
                          files, [&](auto const& file) { return file.second.find(text) != std::string::npos; }),
                1)
                << text;
    }
    // Whoever fails after that does not take the other's back-up for its own.
    Clear();
    gKernel.mpFtruncate = [](int file, off_t size)
    { return gOther ? (std::exchange(gOther, nullptr)(), errno = EIO, -1) : ::ftruncate(file, size); };
    make();
    Write("a");
    Write("lost");
    EXPECT_EQ(Get("x.log.bak00"), kHead + Record("b"));
}

TEST_F(StrictRecoveryTest, TheSystemLogLearnsOfEachRun)
{
    static std::vector<std::string> gEvents;
    gEvents.clear();
    QzOs::gCalls.mpReportEvent = [](void*, unsigned short type, unsigned int, unsigned short const* text)
    { gEvents.push_back(std::to_string(type) + ' ' + Narrow(text)); };
    QzLog::Initializer const module;
    Make("x.log");
    mpDestination->SetLossObserver(QzLog::CreateSystemLogLossObserver().get());
    Lose("lost");
    Write("lost");
    EXPECT_EQ(gEvents, std::vector{"1 Messages are being lost, log file '" + Path("x.log") +
                                   "': Failed to lock file '" + Path("x.log") + "'."});
}
