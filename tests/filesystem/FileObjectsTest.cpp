#include "filesystem/KernelFaults.h"
#include "filesystem/TemporaryFolder.h"

#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"
#include "os/Calls.h"

using namespace QzFileSystem;
using namespace QzTest;
using QzOs::Posix::Kernel;

namespace
{
    class FileObjects : public TemporaryFolder
    {
    protected:
        std::unique_ptr<UpdateableFile> Open(CloseDisposition disposition = KeepOnClose) const
        {
            return CreateUpdateableFile(WideIn("file").c_str(), disposition);
        }

        /// The file's path as failures show it.
        std::string Shown() const { return Narrow(CombinePaths(WideIn("file").c_str(), Wide("").c_str())); }
    };
}

TEST_F(FileObjects, WritesReadsAndMoves)
{
    Put("file", "old");
    auto const file = Open();
    EXPECT_EQ(Narrow(file->GetPath()), In("file"));
    EXPECT_EQ(file->GetPosition(), 0);
    EXPECT_EQ(file->MovePositionToEnd(), 3);
    file->WriteText("abcdef", 2);
    file->WriteText("ghi", 0);
    file->WriteUInt32(0x04030201);
    EXPECT_EQ(file->MovePosition(-9), 3);
    char text[5];
    file->Read(text, 5);
    EXPECT_EQ(std::string(text, 5), "abghi");
    unsigned int number = 0;
    file->ReadUInt32(number);
    EXPECT_EQ(number, 0x04030201u);
    EXPECT_EQ(Get("file"), "oldabghi\x01\x02\x03\x04");
    file->SetPosition(4);
    file->Truncate();
    EXPECT_EQ(file->GetPosition(), 4);
    EXPECT_EQ(file->GetSize(), 4);
    file->Flush();
    EXPECT_GT(file->GetWriteTimer().GetTotalNanoseconds(), 0);
    EXPECT_GT(file->GetReadTimer().GetTotalNanoseconds(), 0);
    EXPECT_EQ(file->GetWriteLockTimer().GetTotalNanoseconds() + file->GetReadLockTimer().GetTotalNanoseconds(), 0);
}

TEST_F(FileObjects, CallsNoMoreThanItMust)
{
    auto const file = Open();
    std::string block((1 << 20) + 1, 'x');
    {
        Watch<&Kernel::mpWrite> const writes;
        Watch<&Kernel::mpRead> const reads;
        file->WriteText("", 0);
        file->Write(block.data(), 0);
        file->Read(block.data(), 0);
        EXPECT_EQ(writes.GetCount() + reads.GetCount(), 0);
        file->Write(block.data(), block.size());
        EXPECT_EQ(writes.GetCount(), 2);
        file->ReadBinary(*MakeBinary(10), 0);
        EXPECT_EQ(reads.GetCount(), 1);
    }
    // One record: what a log's writer does for each.
    Watch<&Kernel::mpStat> const stats;
    Watch<&Kernel::mpFlock> const locks;
    Watch<&Kernel::mpLseek> const seeks;
    Watch<&Kernel::mpWrite> const writes;
    Watch<&Kernel::mpSigmask> const masks;
    Watch<&Kernel::mpGetrlimit> const limits;
    EXPECT_TRUE(IsFile(file->GetPath()));
    FileWriteLock lock(*file);
    file->MovePositionToEnd();
    file->WriteText("record", 6);
    lock.Unlock();
    EXPECT_EQ(stats.GetCount() * 1000 + locks.GetCount() * 100 + seeks.GetCount() * 10 + writes.GetCount(), 1211);
    EXPECT_EQ(masks.GetCount() + limits.GetCount(), 0);
}

TEST_F(FileObjects, ReadLine)
{
    std::string const withZero("ab\0c\n", 5);
    // Content, size of the binary, lines.
    std::tuple<std::string, std::size_t, std::vector<std::string>> const rows[] = {{"a\nb", 10, {"a\n", "b", ""}},
        {"a\r\n\nb\n", 10, {"a\r\n", "\n", "b\n", ""}}, {"abcdefg\nh", 3, {"abc", "def", "g\n", "h", ""}},
        {withZero, 10, {withZero, ""}}, {std::string("ab\0c", 4), 10, {"ab", "", ""}},
        {withZero, 4, {"ab", withZero.substr(2), ""}}, {"", 10, {""}}};
    for (auto const& [content, size, lines] : rows)
    {
        Put("file", content);
        auto const file = Open();
        BinaryPtr const binary = MakeBinary(size);
        for (std::string const& line : lines)
        {
            file->ReadLine(*binary);
            EXPECT_EQ(ToString(*binary), line) << content;
        }
    }
}

TEST_F(FileObjects, ShortReads)
{
    Put("file", "abc");
    auto const file = Open();
    char text[5];
    EXPECT_EQ(Catch([&] { file->Read(text, 5); }), "1/305419896 Failed to read 2 bytes from file '" + Shown() + "'.\n");
    file->SetPosition(1);
    BinaryPtr const binary = MakeBinary(10);
    for (auto const& [maximum, content] : {std::pair(1u, "b"), {20u, "c"}, {0u, ""}})
        EXPECT_EQ((file->ReadBinary(*binary, maximum), ToString(*binary)), content);
}

TEST_F(FileObjects, DispositionActsAtTheEnd)
{
    // Disposition, whether the file is closed before, what is left.
    std::tuple<CloseDisposition, bool, Snapshot> const rows[] = {{EmptyOnClose, false, {{"file", ""}}},
        {DeleteOnClose, false, {}}, {KeepOnClose, false, {{"file", "content"}}},
        {EmptyOnClose, true, {{"file", "content"}}}, {DeleteOnClose, true, {{"file", "content"}}}};
    for (auto const& [disposition, isClosed, left] : rows)
    {
        Put("file", "content");
        auto file = Open(disposition);
        // A child that ends leaves the parent's file alone.
        EXPECT_EQ(RunInChild([&] { return file.reset(), 0; }), 0);
        EXPECT_EQ(Get("file"), "content");
        if (isClosed)
            file->Close();
        file.reset();
        EXPECT_EQ(TakeSnapshot(), left);
    }
}

TEST_F(FileObjects, EveryOperationOfAClosedObjectFails)
{
    auto const file = Open(DeleteOnClose);
    file->Close();
    BinaryPtr const binary = MakeBinary(10);
    char text[2] = {};
    std::pair<char const*, Action> const rows[] = {{"Failed to get size of ", [&] { file->GetSize(); }},
        {"Failed to get current position of ", [&] { file->GetPosition(); }},
        {"Failed to set current position of ", [&] { file->MovePosition(1); }},
        {"Failed to set current position of ", [&] { file->SetPosition(1); }},
        {"Failed to set current position of ", [&] { file->MovePositionToEnd(); }},
        {"Failed to write 2 bytes to ", [&] { file->Write(text, 2); }},
        {"Failed to write 1 bytes to ", [&] { file->WriteText("x", 0); }},
        {"Failed to read 2 bytes from ", [&] { file->Read(text, 2); }},
        {"Failed to read 10 bytes from ", [&] { file->ReadBinary(*binary, 0); }},
        {"Failed to flush ", [&] { file->Flush(); }}, {"Failed to truncate ", [&] { file->Truncate(); }},
        {"Failed to close handle of ", [&] { file->Close(); }}, {"Failed to lock ", [&] { file->ReadLock(true); }},
        {"Failed to lock ", [&] { file->WriteLock(false); }},
        {"Failed to get attributes of ", [&]
            {
                QzBase::Message err;
                EXPECT_FALSE(file->IsSameFile(&err));
                throw err;
            }}};
    for (auto const& [failure, action] : rows)
        EXPECT_EQ(Catch(action), DescribeFailure(failure + ("file '" + Shown() + "'."), EBADF));
    static_cast<WriteableFile&>(*file).Unlock();
    static_cast<ReadableFile&>(*file).Unlock();
}

TEST_F(FileObjects, OpeningFails)
{
    for (std::string const& path : {In("gone/x"), mFolder, std::string("C:\\x"), std::string()})
    {
        std::string const text = ": ::CreateFileW failed for '" + path + "'.";
        int const error = path == mFolder ? EISDIR : ENOENT;
        EXPECT_EQ(Catch([&] { CreateUpdateableFile(Wide(path).c_str(), DeleteOnClose); }),
            DescribeCall("UpdateableFileImpl::UpdateableFileImpl" + text, error));
        EXPECT_EQ(Catch([&] { CreateWriteableFile(Wide(path).c_str(), DeleteOnClose); }),
            DescribeCall("WriteableFileImpl::WriteableFileImpl" + text, error));
    }
}

TEST_F(FileObjects, NewFilesFollowTheUmaskAndCloseOnExec)
{
    auto const file = CreateWriteableFile(WideIn("file").c_str(), KeepOnClose);
    mode_t const mask = umask(0);
    umask(mask);
    struct stat status;
    ASSERT_EQ(stat(In("file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask);
    int const exitStatus =
        RunInChild([] { return execl("/bin/sh", "sh", "-c", "ls -l /proc/self/fd | grep -q qzlog-files", nullptr); });
    EXPECT_EQ(WEXITSTATUS(exitStatus), 1);
}

TEST_F(FileObjects, IsSameFileComparesWithThePath)
{
    auto const file = Open();
    file->WriteText("x", 0);
    QzBase::Message err;
    EXPECT_TRUE(file->IsSameFile(&err));
    truncate(In("file").c_str(), 0);
    EXPECT_TRUE(file->IsSameFile(nullptr));
    rename(In("file").c_str(), In("moved").c_str());
    EXPECT_FALSE(file->IsSameFile(&err));
    Put("file", "");
    EXPECT_FALSE(file->IsSameFile(&err));
    EXPECT_EQ(Describe(err), "0/0 \n");
}

TEST_F(FileObjects, LocksExcludeObjectsAndProcesses)
{
    auto const file = Open();
    auto const other = Open();
    {
        FileWriteLock lock(*file);
        EXPECT_FALSE(other->WriteLock(true));
        EXPECT_FALSE(other->ReadLock(true));
        EXPECT_FALSE(FileTryWriteLock(*other).HoldsLock());
        EXPECT_EQ(RunInChild([&] { return Open()->WriteLock(true) ? 1 : 0; }), 0);
        // Closing another descriptor of the file must not free the lock.
        Open()->Close();
        EXPECT_FALSE(other->WriteLock(true));
        lock.Unlock();
        EXPECT_FALSE(lock.HoldsLock());
        EXPECT_TRUE(FileTryWriteLock(*other).HoldsLock());
    }
    EXPECT_TRUE(file->ReadLock(true) && other->ReadLock(true));
    EXPECT_FALSE(other->WriteLock(true));
    static_cast<ReadableFile&>(*file).Unlock();
    static_cast<ReadableFile&>(*other).Unlock();

    // A process that dies holding the lock gives it up.
    EXPECT_EQ(RunInChild([&] { return Open()->WriteLock(false) ? 0 : 1; }), 0);
    EXPECT_TRUE(file->WriteLock(false));
    EXPECT_GT(file->GetWriteLockTimer().GetTotalNanoseconds(), 0);
    EXPECT_GT(file->GetReadLockTimer().GetTotalNanoseconds(), 0);
    EXPECT_EQ(file->GetWriteTimer().GetTotalNanoseconds(), 0);
}

TEST_F(FileObjects, TryingForSomeTime)
{
    using Pauses = std::vector<unsigned int>;
    static Pauses gPauses;
    static WriteableFile* gpHolder = nullptr;
    auto const holder = Open();
    auto const file = Open();
    auto const realSleep = QzOs::gCalls.mpSleep;
    QzOs::gCalls.mpSleep = [](unsigned int milliseconds)
    {
        gPauses.push_back(milliseconds);
        if (gpHolder && gPauses.size() == 2)
            gpHolder->Unlock();
    };
    // Milliseconds, whether the lock becomes free after two pauses, pauses.
    std::tuple<unsigned int, bool, Pauses> const rows[] = {
        {0, false, {}}, {12000, false, {5000, 5000, 2000}}, {5000, false, {5000}}, {12000, true, {5000, 5000}}};
    for (auto const& [milliseconds, becomesFree, pauses] : rows)
    {
        gPauses.clear();
        gpHolder = becomesFree ? holder.get() : nullptr;
        FileWriteLock const lock(*holder);
        EXPECT_EQ(FileTryWriteLock(*file, milliseconds).HoldsLock(), becomesFree);
        EXPECT_EQ(gPauses, pauses);
    }
    QzOs::gCalls.mpSleep = realSleep;
}

TEST_F(FileObjects, AForkedChildGetsAnOpenFileOfItsOwn)
{
    auto const file = Open();
    file->WriteText("0123456789", 0);
    file->SetPosition(4);
    {
        Watch<&Kernel::mpOpen> const opens;
        file->ReopenAfterFork();
        EXPECT_EQ(opens.GetCount(), 0);
    }
    FileWriteLock const lock(*file);
    rename(In("file").c_str(), In("moved").c_str());
    auto const inChild = [&]
    {
        file->ReopenAfterFork();
        bool const isApart = !file->WriteLock(true);
        static_cast<WriteableFile&>(*file).Unlock();
        bool const keepsPosition = file->GetPosition() == 4;
        file->WriteText("child", 0);
        return isApart && keepsPosition ? 0 : 1;
    };
    EXPECT_EQ(RunInChild(inChild), 0);
    EXPECT_EQ(file->GetPosition(), 4);
    auto const other = CreateUpdateableFile(WideIn("moved").c_str(), KeepOnClose);
    EXPECT_FALSE(other->WriteLock(true)) << "the child's unlock freed the parent's lock";
    EXPECT_EQ(Get("moved"), "0123child9");
}
