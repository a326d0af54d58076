#include "destination/Destination_DiskFile_Impl.h"
#include "filesystem/KernelFaults.h"
#include "filesystem/Paths.h"
#include "filesystem/TemporaryFolder.h"
#include "os/Calls.h"

#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <atomic>
#include <thread>

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
            return Narrow(QzFileSystem::CombinePaths(WideIn(name).c_str(), u""_w));
        }

        void Make(std::string const& name) { mpDestination = new Destination_DiskFile_Impl(Wide(Path(name)).c_str()); }

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
    Write("first");
    Watch<&Kernel::mpStat> const stat;
    Watch<&Kernel::mpFstat> const fstat;
    Watch<&Kernel::mpFlock> const flock;
    Watch<&Kernel::mpLseek> const lseek;
    Watch<&Kernel::mpWrite> const write;
    Watch<&Kernel::mpOpen> const open;
    Write("second");
    EXPECT_EQ((std::vector{stat.GetCount(), fstat.GetCount(), flock.GetCount(), lseek.GetCount(), write.GetCount(),
                  open.GetCount()}),
        (std::vector{1, 0, 2, 1, 1, 0}));
}

TEST_F(DiskFileTest, RollsOverAtItsLimitIntoNumberedBackups)
{
    // Back-ups are named by their two or three digits, and hold their first number until they are moved.
    struct Case
    {
        char const* mpName;
        unsigned int mCount;
        std::vector<int> mBefore;
        std::map<int, int> mAfter; // number now: number before
    };
    std::vector<int> all(256);
    std::map<int, int> allMoved;
    for (int i = 0; i < 256; ++i)
    {
        all[static_cast<std::size_t>(i)] = i;
        if (i != 255)
            allMoved[i + 1] = i;
    }
    Case const cases[] = {
        {"none", 2, {}, {}},
        {"count 0 is 1", 0, {0}, {}},
        {"the only one is replaced", 1, {0}, {}},
        {"room left", 3, {0, 1}, {{1, 0}, {2, 1}}},
        {"all taken", 3, {0, 1, 2}, {{1, 0}, {2, 1}}},
        {"a gap takes what is below it", 3, {0, 2}, {{1, 0}, {2, 2}}},
        {"higher ones stay", 2, {0, 1, 2, 3}, {{1, 0}, {2, 2}, {3, 3}}},
        {"three digits", 256, all, allMoved},
    };
    auto const nameOf = [](int number)
    {
        char name[16];
        std::snprintf(name, sizeof(name), "x.log.bak%02d", number);
        return std::string(name);
    };
    for (Case const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        std::filesystem::remove_all(mFolder);
        MakeFolder("");
        Make("x.log");
        Write("old");
        std::string const old = kHead + Record("old");
        mpDestination->SetBackupCount(each.mCount);
        for (int const number : each.mBefore)
            Put(nameOf(number), std::to_string(number));

        // One byte below the limit is not full, and the record is written whole.
        mpDestination->SetMaxFileSize(static_cast<unsigned int>(old.size() + 1));
        Write("more");
        std::string const full = old + Record("more");
        EXPECT_EQ(Get("x.log"), full);
        mpDestination->SetMaxFileSize(static_cast<unsigned int>(full.size()));
        Write("new");

        Snapshot expected{{"x.log", kHead + Record("new")}, {nameOf(0), full}};
        for (auto const& [now, before] : each.mAfter)
            expected[nameOf(now)] = std::to_string(before);
        EXPECT_EQ(TakeSnapshot(), expected);
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

    void Place(std::string const& from, std::string const& to)
    {
        std::filesystem::rename(from, to);
    }
}

TEST_F(DiskFileTest, CountsWhatItLosesAndTellsWhy)
{
    std::string const log = In("x.log");
    std::string const size = std::to_string(Record("lost 1").size());
    std::string const quoted = "'" + Path("x.log") + "'.";
    std::string const backup = Path("x.log.bak00");
    std::string const text = "QzLog::Destination_DiskFile_Impl::WriteMessage: ";
    std::string const race = text + "detected a race condition with " + quoted + " Maximum file size is 60 bytes.";
    struct Case
    {
        char const* mpName;
        std::function<Fault()> mMake;
        std::string mReason; // none: nothing is lost
        bool mIsFull = false;
    };
    Case const cases[] = {
        {"signal in the wait", [] { return Fail<&Kernel::mpFlock>(EINTR); }, ""},
        {"deleted", [&] { return std::filesystem::remove(log), nullptr; }, ""},
        {"renamed", [&] { return Place(log, log + "1"), nullptr; }, ""},
        {"lock", [] { return Fail<&Kernel::mpFlock>(ENOLCK); }, "Failed to lock file " + quoted},
        {"seek", [] { return Fail<&Kernel::mpLseek>(EIO); }, "Failed to set current position of file " + quoted},
        {"disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); },
            "Failed to write " + size + " bytes to file " + quoted},
        {"limit of file sizes", [] { return LimitTo(RLIMIT_FSIZE, 50); },
            "Failed to write " + size + " bytes to file " + quoted},
        {"full: move",
            [&]
            {
                Put("x.log.bak00", "");
                MakeFolder("x.log.bak01");
                return nullptr;
            },
            "Failed to move file '" + backup + "' to '" + Path("x.log.bak01") + "'.", true},
        {"full: back-up taken by a folder", [&] { return MakeFolder("x.log.bak00"), nullptr; },
            "QzFileSystem::File::OpenDescriptor: ::CreateFileW failed for '" + backup + "'. Is a directory", true},
        {"full: no descriptor", [] { return LimitTo(RLIMIT_NOFILE, 0); },
            "QzFileSystem::File::OpenDescriptor: ::CreateFileW failed for '" + backup + "'. Too many open files", true},
        {"full: read", [] { return Fail<&Kernel::mpRead>(EIO); }, "Failed to read 262144 bytes from file " + quoted,
            true},
        {"full: disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); },
            text + "::write failed for file " + backup + ".", true},
        {"full: truncate", [] { return Fail<&Kernel::mpFtruncate>(EIO); }, "Failed to truncate file " + quoted, true},
        {"full: replaced",
            [&]
            {
                Put("other", "another");
                Place(In("other"), log);
                return nullptr;
            },
            race, true},
        {"full: replaced by a link",
            [&]
            {
                Put("other", "another");
                std::filesystem::remove(log);
                std::filesystem::create_symlink(In("other"), log);
                return nullptr;
            },
            race, true},
    };
    for (Case const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        std::filesystem::remove_all(mFolder);
        MakeFolder("");
        Make("x.log");
        mpDestination->SetBackupCount(2);
        Write("first");
        if (each.mIsFull)
            mpDestination->SetMaxFileSize(60);

        int const losses = each.mReason.empty() ? 0 : 3;
        Fault fault = each.mMake();
        Write("lost 1");
        fault.reset();
        for (int i = 1; i < losses; ++i)
            Write("lost");
        mpDestination->SetMaxFileSize(1000);
        std::filesystem::remove_all(In("x.log.bak00"));
        gNow += 299'999;
        if (losses != 0)
            Write("lost too");
        gNow += 1;
        Write("again");

        EXPECT_TRUE(Get("x.log").ends_with(Record("again")));
        EXPECT_EQ(GetLossLine("x.log"),
            losses == 0 ? "" : "Missed 4 messages since 2027-01-15 08:00:00.000 due to: " + each.mReason);
        gNow = kStart;
    }
}

TEST_F(DiskFileTest, WaitsForAFileThatCannotBeMade)
{
    std::string const noReason = "1899-12-30 00:00:00.000 due to: ";
    struct Case
    {
        char const* mpName;
        std::function<void()> mBreak;
        std::string mSinceAndWhy;
    };
    Case const cases[] = {
        {"a folder in its place", [&] { MakeFolder("d/x.log"); }, noReason},
        {"its folder removed", [&] { std::filesystem::remove(In("d")); }, noReason},
        {"permission taken away", [&] { std::filesystem::permissions(In("d"), std::filesystem::perms::none); },
            noReason},
        {"no place for its folder from the start",
            [&]
            {
                std::filesystem::remove(In("d"));
                Put("d", "");
                Make("d/x.log");
            },
            "2027-01-15 08:00:00.000 due to: Failed to create directory '" + Path("d") + "'."},
    };
    for (Case const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        if (geteuid() == 0 && std::string(each.mpName).starts_with("permission"))
            continue; // root needs none
        Make("d/x.log");
        std::filesystem::remove(In("d/x.log"));
        each.mBreak();
        Write("lost: by an attempt, or by the interval after the first one");
        gNow += 299'999;
        Write("lost by the interval");
        gNow += 1;
        Write("lost by an attempt");

        std::error_code ignored;
        std::filesystem::permissions(In("d"), std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(In("d"));
        MakeFolder("d");
        gNow += 299'999;
        Write("lost by the interval, which the attempt began anew");
        gNow += 1;
        Write("again");
        EXPECT_TRUE(Get("d/x.log").starts_with(kHead));
        EXPECT_TRUE(Get("d/x.log").ends_with(Record("again")));
        EXPECT_EQ(GetLossLine("d/x.log"), "Missed 4 messages since " + each.mSinceAndWhy);
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
}

TEST_F(DiskFileTest, LetsOtherExceptionsPass)
{
    Make("x.log");
    MakeFolder("d");
    Place(In("x.log"), In("d/x.log"));
    QzOs::gCalls.mpGetUTCMilliseconds = []() -> std::int64_t { throw std::bad_alloc(); };
    EXPECT_THROW(Write("text"), std::bad_alloc);
}

TEST_F(DiskFileTest, GoesOverToAnotherPath)
{
    Make("a.log");
    Write("1");
    mpDestination->SetFilePath(Wide(Path("new/b.log")).c_str());
    Write("2");
    std::filesystem::remove(In("new/b.log"));
    mpDestination->SetFilePath(Wide(Path("new/b.log")).c_str()); // the present path opens nothing
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"a.log", kHead + Record("1")}, {"new", "folder"}}));
    EXPECT_EQ(Narrow(mpDestination->GetFilePath()), Path("new/b.log"));
}

TEST_F(DiskFileTest, AForkedChildWritesThroughItsOwnOpenFile)
{
    // A child that inherited the busy thread's lock would wait for ever, and one that shared the parent's open file
    // would share its lock and its position too, so that records were lost.
    constexpr int kChildren = 8;
    constexpr int kRecords = 100;
    Make("x.log");
    mpDestination->SetMaxFileSize(1'000'000'000); // however fast the busy thread is
    std::atomic<bool> stop = false;
    int busyRecords = 0;
    std::thread busy(
        [&]
        {
            QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
            for (; !stop; ++busyRecords)
                mpDestination->WriteMessage("busy", *header);
        });
    for (int i = 0; i < kChildren; ++i)
    {
        int const status = RunInChild(
            [&]
            {
                alarm(100);
                for (int record = 0; record < kRecords; ++record)
                    Write("child");
                return 0;
            });
        EXPECT_EQ(status, 0);
    }
    stop = true;
    busy.join();
    std::string const text = Get("x.log");
    EXPECT_EQ(text.size(), kHead.size() + Record("child").size() * kChildren * kRecords +
                               Record("busy").size() * static_cast<std::size_t>(busyRecords));
}
