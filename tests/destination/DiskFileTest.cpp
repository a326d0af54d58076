#include "destination/DiskFileTest.h"
#include "support/ForkedChild.h"

#include <algorithm>
#include <atomic>

#include <sched.h>
#include <unistd.h>

using namespace QzBase::Literals;
using namespace QzTest;
using QzLog::Destination_DiskFile_Impl;

namespace
{
    /// Watches the lock on the only open log.
    struct LockRules
    {
        LockRules()
        {
            gIsHeld = false;
            gLocks = gWrites = gRecords = gMostRecords = gUnlockedWrites = 0;
            QzOs::Posix::gKernel.mpFlock = [](int file, int operation)
            {
                int const result = flock(file, operation);
                if (result != 0)
                    return result;
                gHasWaited = gHasWaited || operation == LOCK_EX;
                gLocks += operation != LOCK_UN;
                gIsHeld = operation != LOCK_UN;
                gRecords = 0;
                return result;
            };
            QzOs::Posix::gKernel.mpWrite = [](int file, void const* data, std::size_t size)
            {
                if (!IsPassedOn() || gHasWaited.exchange(false))
                    sched_yield();
                ++gWrites;
                gUnlockedWrites += !gIsHeld;
                gMostRecords = std::max(gMostRecords.load(), ++gRecords);
                return write(file, data, size);
            };
        }

        static bool IsPassedOn() { return gLocks < gWrites; }

        static inline std::atomic<bool> gIsHeld, gHasWaited;
        static inline std::atomic<int> gLocks, gWrites, gRecords, gMostRecords, gUnlockedWrites;
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
    for (QzLog::Recovery const recovery : {QzLog::kRecoveryBasic, QzLog::kRecoveryStrict})
    {
        Clear();
        Make("x.log");
        mpDestination->SetRecovery(recovery);
        Write("\n"); // opens the file anew and asks who it is
        std::filesystem::resize_file(In("x.log"), 0);
        std::string const large(1'500'000, 'x'); // more than one call takes
        auto const writeTwo = [&]
        {
            Write(large);
            Write("second");
        };
        EXPECT_EQ(CountCalls(writeTwo),
            // The head and the first record are one.
            (CallCounts{{"Statx", 2}, {"Flock", 4}, {"Lseek", 2}, {"Writev", 1}, {"Write", 2}}));
        EXPECT_EQ(Get("x.log"), kHead + Record(large) + Record("second"));
    }
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

TEST_F(DiskFileTest, ThreadsPassTheLockOnTheFileOnForSomeRecords)
{
    // One record more after another by threads that leave the lock to each other would starve other processes.
    constexpr int kRecords = 100;
    Make("x.log");
    mpDestination->SetMaxFileSize(1'000'000'000); // however fast the threads are
    Write("first");
    LockRules const rules;
    std::atomic<std::size_t> busyRecords = 0;
    auto const work = [&](int records)
    {
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        for (int i = 0; i < records || (!rules.IsPassedOn() && i < 100'000); ++i, ++busyRecords)
            mpDestination->WriteMessage("busy.", *header);
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(work, kRecords);
    }
    EXPECT_EQ(Get("x.log").size(), kHead.size() + Record("busy.").size() * (1 + busyRecords));
    EXPECT_TRUE(rules.IsPassedOn());
    EXPECT_LE(rules.gMostRecords, 8);

    // Those who look at the settings or set them are waited for like writers, and must not leave the lock behind, not
    // even to each other.
    std::atomic<int> leftBehind = 0;
    auto const look = [&](std::stop_token const& stop)
    {
        while (!stop.stop_requested())
        {
            int const before = rules.gLocks;
            mpDestination->GetBackupCount();
            mpDestination->SetRecovery(QzLog::kRecoveryBasic);
            bool const isHeld = rules.gIsHeld;
            leftBehind += isHeld && rules.gLocks == before;
        }
    };
    for (int round = 0; round < 20; ++round)
    {
        {
            std::vector<std::jthread> looking;
            for (int i = 0; i < 3; ++i)
                looking.emplace_back(look);
            // After a wait, too, whoever writes is alone.
            int const taken = open(In("x.log").c_str(), O_RDONLY | O_CLOEXEC);
            flock(taken, LOCK_EX);
            std::jthread const waiting(
                [=, this, before = rules.gWrites.load()]
                {
                    usleep(5'000);
                    for (close(taken); rules.gWrites == before;)
                        mpDestination->GetBackupCount();
                });
            for (int i = 0; i < 200; ++i)
                Write("beside looks");
        }
        ASSERT_FALSE(IsLocked(In("x.log"))) << round;
    }
    EXPECT_EQ(leftBehind, 0);
    EXPECT_EQ(rules.gUnlockedWrites, 0);
}
