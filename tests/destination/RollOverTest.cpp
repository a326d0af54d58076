#include "destination/DiskFileTest.h"

#include <numeric>

#include <sys/xattr.h>

using namespace QzTest;
using QzOs::Posix::Kernel;

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
        std::vector<int> mAfter;      // from number 1 on
        char const* mpLink = nullptr; // the end of the name of a link that leads to no file
    } const cases[] = {{"none", 2, {}, {}}, {"count 0 is 1", 0, {0}, {}}, {"the only one is replaced", 1, {0}, {}},
        {"room left", 3, {0, 1}, {0, 1}}, {"all taken", 3, {0, 1, 2}, {0, 1}},
        {"a gap takes what is below it", 3, {0, 2}, {0, 2}}, {"higher ones stay", 2, {0, 1, 2, 3}, {0, 2, 3}},
        {"a link in a gap", 3, {0, 2}, {0, 2}, ".bak01"}, {"a link as the newest", 2, {1}, {1}, ".bak00"},
        {"three digits", 256, all, {all.begin(), all.end() - 1}}};
    for (auto const& each : cases)
        for (auto const recovery : {QzLog::kRecoveryBasic, QzLog::kRecoveryStrict})
        {
            SCOPED_TRACE(testing::Message() << each.mpName << ' ' << recovery);
            Clear();
            // The longest name that leaves room for those of the back-ups.
            std::string const log(each.mCount > 100 ? 248 : 249, 'x');
            auto const nameOf = [&](std::size_t number)
            { return log + ".bak" + std::string(number < 10, '0') + std::to_string(number); };
            Make(log);
            mpDestination->SetRecovery(recovery);
            Watch<&Kernel::mpRename> const rename;
            Write("old");
            std::string const old = kHead + Record("old");
            mpDestination->SetBackupCount(each.mCount);
            for (int const number : each.mBefore)
                Put(nameOf(static_cast<std::size_t>(number)), std::to_string(number));
            if (each.mpLink)
                std::filesystem::create_symlink(each.mBefore[0] == 0 ? "nowhere" : ".", In(log + each.mpLink));

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

TEST_F(DiskFileTest, MakesItsBackupForThoseWhoMayUseTheLog)
{
    // A user more who may read; the bits of the group are the limit for him, and the group itself may nothing.
    constexpr std::uint16_t kList[] = {
        2, 0, 1, 6, 0xFFFF, 0xFFFF, 2, 4, 1234, 0, 4, 0, 0xFFFF, 0xFFFF, 16, 4, 0xFFFF, 0xFFFF, 32, 0, 0xFFFF, 0xFFFF};
    static constexpr char const* kListName = "system.posix_acl_access";
    auto const giveList = [&] { return setxattr("x.log", kListName, kList, sizeof(kList), 0); };
    auto const keepGroup = []
    {
        QzOs::Posix::gKernel.mpFchown = [](int, uid_t, gid_t) { return errno = EPERM, -1; };
        return 0;
    };
    auto const forbidDeletion = []
    {
        QzOs::Posix::gKernel.mpUnlink = [](char const*) { return errno = EACCES, -1; };
        return 0;
    };
    struct
    {
        char const* mpName;
        std::function<int()> mMake;
        mode_t mLog = 0600;
        mode_t mBackup = mLog; // 0: there is no roll-over
    } const cases[] = {{"pipe", [] { return mkfifo("x.log.bak00", 0666); }},
        {"link to the log", [] { return symlink("x.log", "x.log.bak00"); }},
        {"second name of another file", [] { return link("other", "x.log.bak00"); }},
        {"open to more than new files", [] { return 0; }, 0666}, {"of a foreign group", keepGroup, 0664, 0644},
        {"with an access control list", giveList, 0640},
        {"with a list and of a foreign group", [&] { return giveList() + keepGroup(); }, 0640, 0600},
        {"not deletable", [&] { return Put("x.log.bak00", "older"), chmod("x.log.bak00", 0640) + forbidDeletion(); },
            0640},
        {"not deletable, of other users",
            [&] { return Put("x.log.bak00", "older"), chmod("x.log.bak00", 0644) + forbidDeletion(); }, 0640, 0},
        {"not deletable second name", [&] { return link("x.log", "x.log.bak00") + forbidDeletion(); }, 0640, 0},
        {"not deletable link", [&] { return symlink("other", "x.log.bak00") + forbidDeletion(); }, 0640, 0}};
    for (auto const& each : cases)
    {
        SCOPED_TRACE(each.mpName);
        Clear();
        Put("other", "another");
        chmod("other", each.mLog);
        Make("x.log");
        Write("old");
        chmod("x.log", each.mLog);
        std::string const old = kHead + Record("old");
        if (each.mMake() != 0 && errno == ENOTSUP)
            continue; // no lists on this file system
        mpDestination->SetBackupCount(0);
        mpDestination->SetMaxFileSize(60);
        Write("new");
        QzOs::Posix::gKernel = mKernel;
        EXPECT_EQ(Get("other"), "another");
        EXPECT_EQ(Get("x.log"), each.mBackup == 0 ? old : kHead + Record("new"));
        struct stat status;
        EXPECT_EQ(lstat("x.log.bak00", &status), 0);
        if (each.mBackup == 0)
            continue;
        EXPECT_EQ(Get("x.log.bak00"), old);
        EXPECT_EQ(status.st_mode, S_IFREG | each.mBackup);
        char list[100];
        EXPECT_EQ(getxattr("x.log.bak00", kListName, list, sizeof(list)),
            each.mBackup == each.mLog ? getxattr("x.log", kListName, list, sizeof(list)) : -1);
    }
}

TEST_F(DiskFileTest, HasTheSystemCopyWhatItCanOfALargeLog)
{
    Make("x.log");
    Write("first");
    mpDestination->SetMaxFileSize(1'000'000'000);
    std::filesystem::resize_file(In("x.log"), (16 << 20) - Record("last").size());
    Write("last");
    std::string const full = Get("x.log");
    mpDestination->SetMaxFileSize(60);
    QzOs::Posix::gKernel.mpCopyFileRange = // a part of it
        [](int from, off_t* start, int to, off_t* end, std::size_t, unsigned int flags)
    { return copy_file_range(from, start, to, end, 5'000'000, flags); };
    Watch<&Kernel::mpCopyFileRange> const copies(EXDEV, 1, kAlways);
    Write("next");
    EXPECT_NE(copies.GetCount(), 0);
    EXPECT_EQ(Get("x.log"), kHead + Record("next"));
    EXPECT_TRUE(Get("x.log.bak00") == full);
}

TEST_F(DiskFileTest, CopiesWhatOthersAppendAtTheEndOfTheCopy)
{
    Make("x.log");
    Write("old");
    mpDestination->SetMaxFileSize(60);
    QzOs::Posix::gKernel.mpRead = [](int file, void* data, std::size_t size)
    {
        ssize_t const count = ::read(file, data, size);
        if (count == 0)
        {
            QzOs::Posix::gKernel.mpRead = ::read; // once
            EXPECT_EQ(pwrite(file, "late", 4, lseek(file, 0, SEEK_END)), 4);
        }
        return count;
    };
    Write("new");
    EXPECT_EQ(Get("x.log.bak00"), kHead + Record("old") + "late");
    EXPECT_EQ(Get("x.log"), kHead + Record("new"));
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
    {
        Watch<&Kernel::mpWrite> const full(ENOSPC, 0, kAlways);
        for (int message = 0; message < 2; ++message, gNow += 300'000)
            Write("lost: by a roll-over, or by the line about losses, which leaves the file open");
    }
    EXPECT_EQ(
        TakeSnapshot(), (Snapshot{{"x.log", old}, {"x.log.bak00", ""}, {"x.log.bak01", "0"}, {"x.log.bak02", "1"}}));
    Write("again");
    EXPECT_EQ(Get("x.log"), kHead + Record("again"));
    EXPECT_EQ(Get("x.log.bak00"), old);
    // What the line could not tell waits for the next loss of the file.
    mpDestination->SetMaxFileSize(1000);
    std::filesystem::remove(In("x.log"));
    Write("more");
    EXPECT_EQ(GetLossLine("x.log").find("Missed 2 messages since 2027-01-15 08:00:00.000 due to: "), 0u);
}
