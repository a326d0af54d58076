#include "destination/DiskFileTest.h"

#include <QzLog/Module.h>

using namespace QzTest;
using QzOs::Posix::Kernel;

namespace
{
    /// A fault that lasts until it is dropped.
    using Fault = std::shared_ptr<void>;

    template <auto entry>
    Fault Fail(int error)
    {
        return Watch<entry>::Make(error, 0);
    }

    /// Another program empties a file after its size was asked for.
    Fault EmptyMeanwhile()
    {
        QzOs::Posix::gKernel.mpLseek = [](int file, off_t offset, int origin)
        {
            off_t const position = ::lseek(file, offset, origin);
            return ftruncate(file, 0) == 0 ? position : -1;
        };
        return Fault(nullptr, [](void*) { QzOs::Posix::gKernel.mpLseek = ::lseek; });
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
    std::string const backup = Path("x.log.bak00");
    std::string const text = "QzLog::Destination_DiskFile_Impl::WriteMessage: ";
    std::string const noCopy = text + "::write failed for file " + backup + ".";
    Case const cases[] = {{"emptied", EmptyMeanwhile, ""},
        {"renamed", [&] { return std::filesystem::rename(log, log + "1"), nullptr; }, ""},
        {"lock", [] { return Fail<&Kernel::mpFlock>(ENOLCK); }, "Failed to lock file " + quoted},
        {"disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); },
            "Failed to write " + std::to_string(Record("lost 1").size()) + " bytes to file " + quoted},
        {"full: move", [&] { return Put("x.log.bak00", ""), MakeFolder("x.log.bak01"), nullptr; },
            "Failed to move file '" + backup + "' to '" + Path("x.log.bak01") + "'.", true},
        {"full: back-up taken by a folder", [&] { return MakeFolder("x.log.bak00"), nullptr; },
            "QzFileSystem::File::OpenDescriptor: ::CreateFileW failed for '" + backup + "'. Is a directory", true},
        {"full: disk full", [] { return Fail<&Kernel::mpWrite>(ENOSPC); }, noCopy, true},
        {"full: disk full at the close", [] { return Fail<&Kernel::mpClose>(ENOSPC); }, noCopy, true},
        {"full: truncate", [] { return Fail<&Kernel::mpFtruncate>(EIO); }, "Failed to truncate file " + quoted, true},
        {"full: replaced", [&] { return Put("other", ""), std::filesystem::rename(In("other"), log), nullptr; },
            text + "detected a race condition with " + quoted + " Maximum file size is 60 bytes.", true}};
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

TEST_F(DiskFileTest, WaitsForAFileThatCannotBeMade)
{
    std::string const noReason = "1899-12-30 00:00:00.000 due to: ";
    Case const cases[] = {
        {"a folder in its place", [&] { return MakeFolder("d/x.log"), nullptr; }, noReason},
        {"its folder removed", [&] { return std::filesystem::remove(In("d")), nullptr; }, noReason},
        {"no place for its folder from the start",
            [&] { return std::filesystem::remove(In("d")), Put("d", ""), Make("d/x.log"), nullptr; },
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
    Lose("lost");
    mpDestination->SetRetryInterval(0);
    gNow -= 300'000; // without an interval the clock does not matter
    Write("again");
    std::string const text = Get("x.log");
    std::string const place = "[PID:" + std::to_string(getpid()) + "][THR:" + std::to_string(gettid()) + ']';
    EXPECT_NE(text.find("\r\n2027-01-15 07:55:00.000 [HOST:"), text.npos);
    EXPECT_NE(text.find(place + "[Log][Error][UID:0][SID:0][OID:0] Missed 1 messages since"), text.npos);

    // What is no failure of the file goes to the caller.
    mpDestination->SetRetryInterval(1);
    MakeFolder("d");
    std::filesystem::rename(In("x.log"), In("d/x.log"));
    QzOs::gCalls.mpGetUTCMilliseconds = []() -> std::int64_t { throw std::bad_alloc(); };
    EXPECT_THROW(Write("text"), std::bad_alloc);
}
