#include "filesystem/KernelFaults.h"
#include "filesystem/TemporaryFolder.h"

#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"
#include "os/Calls.h"

#include <memory>
#include <vector>

using namespace QzFileSystem;
using QzOs::Posix::Kernel;
using QzTest::Catch;
using QzTest::CountCalls;
using QzTest::DescribeCall;
using QzTest::DescribeFailure;
using QzTest::Narrow;
using QzTest::Wide;

namespace
{
    using BinaryPtr = std::unique_ptr<QzDataType::Binary>;

    BinaryPtr MakeBinary(std::size_t size)
    {
        return BinaryPtr(QzDataType::CreateBinary(size, nullptr));
    }

    std::string ToString(QzDataType::Binary& binary)
    {
        return std::string(binary.GetData(), binary.GetData() + binary.GetSize());
    }

    class FileObjects : public QzTest::TemporaryFolder
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
    EXPECT_EQ(Get("file"), std::string("oldabghi\x01\x02\x03\x04"));
    file->SetPosition(4);
    file->Truncate();
    EXPECT_EQ(file->GetPosition(), 4);
    EXPECT_EQ(file->GetSize(), 4);
    file->Flush();
    EXPECT_GT(file->GetWriteTimer().GetTotalNanoseconds(), 0);
    EXPECT_GT(file->GetReadTimer().GetTotalNanoseconds(), 0);
    EXPECT_EQ(file->GetWriteLockTimer().GetTotalNanoseconds(), 0);
    EXPECT_EQ(file->GetReadLockTimer().GetTotalNanoseconds(), 0);
}

TEST_F(FileObjects, CallsNoMoreThanItMust)
{
    auto const file = Open();
    std::vector<char> block((1 << 20) + 1, 'x');
    {
        CountCalls<&Kernel::mpWrite> writes;
        CountCalls<&Kernel::mpRead> reads;
        file->WriteText("", 0);
        file->Write(block.data(), 0);
        file->Read(block.data(), 0);
        EXPECT_EQ(writes.Get() + reads.Get(), 0);
        file->Write(block.data(), block.size());
        EXPECT_EQ(writes.Get(), 2);
        BinaryPtr const binary = MakeBinary(10);
        file->ReadBinary(*binary, 0);
        EXPECT_EQ(reads.Get(), 1);
    }
    // One record: what the log's writer does for each.
    CountCalls<&Kernel::mpStat> stats;
    CountCalls<&Kernel::mpFlock> locks;
    CountCalls<&Kernel::mpLseek> seeks;
    CountCalls<&Kernel::mpWrite> writes;
    CountCalls<&Kernel::mpSigmask> masks;
    CountCalls<&Kernel::mpGetrlimit> limits;
    EXPECT_TRUE(IsFile(file->GetPath()));
    {
        FileWriteLock lock(*file);
        file->MovePositionToEnd();
        file->WriteText("record", 6);
        lock.Unlock();
    }
    EXPECT_EQ(stats.Get(), 1);
    EXPECT_EQ(locks.Get(), 2);
    EXPECT_EQ(seeks.Get(), 1);
    EXPECT_EQ(writes.Get(), 1);
    EXPECT_EQ(masks.Get() + limits.Get(), 0);
}

TEST_F(FileObjects, ReadLine)
{
    struct
    {
        std::string mContent;
        std::size_t mBinarySize;
        std::vector<std::string> mLines;
    } const rows[] = {
        {"a\nb", 10, {"a\n", "b", ""}},
        {"a\r\n\nb\n", 10, {"a\r\n", "\n", "b\n", ""}},
        {"abcdefg\nh", 3, {"abc", "def", "g\n", "h", ""}},
        {std::string("ab\0c\n", 5), 10, {std::string("ab\0c\n", 5), ""}},
        {std::string("ab\0c", 4), 10, {"ab", "", ""}},
        {std::string("ab\0c\n", 5), 4, {"ab", std::string("\0c\n", 3), ""}},
        {"", 10, {""}},
    };
    for (auto const& row : rows)
    {
        Put("file", row.mContent);
        auto const file = Open();
        BinaryPtr const binary = MakeBinary(row.mBinarySize);
        for (std::string const& line : row.mLines)
        {
            file->ReadLine(*binary);
            EXPECT_EQ(ToString(*binary), line) << row.mContent;
        }
    }
}

TEST_F(FileObjects, ShortReads)
{
    Put("file", "abc");
    auto const file = Open();
    BinaryPtr const binary = MakeBinary(10);
    char text[5];
    EXPECT_EQ(Catch([&] { file->Read(text, 5); }), "1/305419896 Failed to read 2 bytes from file '" + Shown() + "'.\n");
    file->SetPosition(1);
    file->ReadBinary(*binary, 1);
    EXPECT_EQ(ToString(*binary), "b");
    file->ReadBinary(*binary, 20);
    EXPECT_EQ(ToString(*binary), "c");
    file->ReadBinary(*binary, 0);
    EXPECT_EQ(binary->GetSize(), 0u);
}

TEST_F(FileObjects, DispositionActsAtTheEnd)
{
    struct
    {
        CloseDisposition mDisposition;
        bool mCloses;
        std::map<std::string, std::string> mLeft;
    } const rows[] = {
        {EmptyOnClose, false, {{"file", ""}}},
        {DeleteOnClose, false, {}},
        {KeepOnClose, false, {{"file", "content"}}},
        {EmptyOnClose, true, {{"file", "content"}}},
        {DeleteOnClose, true, {{"file", "content"}}},
    };
    for (auto const& row : rows)
    {
        Put("file", "content");
        auto file = Open(row.mDisposition);
        // A child that ends leaves the parent's file alone.
        EXPECT_EQ(QzTest::RunInChild([&] { return file.reset(), 0; }), 0);
        EXPECT_EQ(Get("file"), "content");
        if (row.mCloses)
            file->Close();
        file.reset();
        EXPECT_EQ(TakeSnapshot(), row.mLeft);
    }
}

TEST_F(FileObjects, EveryOperationOfAClosedObjectFails)
{
    auto const file = Open(DeleteOnClose);
    file->Close();
    WriteableFile& writing = *file;
    ReadableFile& reading = *file;
    BinaryPtr const binary = MakeBinary(10);
    char text[2] = {};
    std::string const name = "file '" + Shown() + "'.";
    struct
    {
        std::string mFailure;
        char const* mText;
    } const rows[] = {
        {Catch([&] { file->GetSize(); }), "Failed to get size of "},
        {Catch([&] { file->GetPosition(); }), "Failed to get current position of "},
        {Catch([&] { file->MovePosition(1); }), "Failed to set current position of "},
        {Catch([&] { file->SetPosition(1); }), "Failed to set current position of "},
        {Catch([&] { file->MovePositionToEnd(); }), "Failed to set current position of "},
        {Catch([&] { file->Write(text, 2); }), "Failed to write 2 bytes to "},
        {Catch([&] { file->WriteText("x", 0); }), "Failed to write 1 bytes to "},
        {Catch([&] { file->Read(text, 2); }), "Failed to read 2 bytes from "},
        {Catch([&] { file->ReadBinary(*binary, 0); }), "Failed to read 10 bytes from "},
        {Catch([&] { file->Flush(); }), "Failed to flush "},
        {Catch([&] { file->Truncate(); }), "Failed to truncate "},
        {Catch([&] { file->Close(); }), "Failed to close handle of "},
        {Catch([&] { file->ReadLock(true); }), "Failed to lock "},
        {Catch([&] { file->WriteLock(false); }), "Failed to lock "},
    };
    for (auto const& row : rows)
        EXPECT_EQ(row.mFailure, DescribeFailure(row.mText + name, EBADF));
    QzBase::Message err;
    EXPECT_FALSE(file->IsSameFile(&err));
    EXPECT_EQ(QzTest::Describe(err), DescribeFailure("Failed to get attributes of " + name, EBADF));
    writing.Unlock();
    reading.Unlock();
}

TEST_F(FileObjects, OpeningFails)
{
    for (std::string const& path : {In("gone/x"), mFolder, std::string("C:\\x"), std::string()})
    {
        int const error = path == mFolder ? EISDIR : ENOENT;
        EXPECT_EQ(Catch([&] { CreateUpdateableFile(Wide(path).c_str(), DeleteOnClose); }),
            DescribeCall(
                "QzFileSystem::UpdateableFileImpl::UpdateableFileImpl: ::CreateFileW failed for '" + path + "'.",
                error));
        EXPECT_EQ(Catch([&] { CreateWriteableFile(Wide(path).c_str(), DeleteOnClose); }),
            DescribeCall(
                "QzFileSystem::WriteableFileImpl::WriteableFileImpl: ::CreateFileW failed for '" + path + "'.", error));
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
    int const exitStatus = QzTest::RunInChild(
        [] { return execl("/bin/sh", "sh", "-c", "ls -l /proc/self/fd | grep -q qzlog-files", nullptr); });
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
    EXPECT_EQ(QzTest::Describe(err), "0/0 \n");
}

TEST_F(FileObjects, LocksExcludeObjectsAndProcesses)
{
    auto const file = Open();
    auto const other = Open();
    {
        FileWriteLock lock(*file);
        EXPECT_TRUE(lock.HoldsLock());
        EXPECT_FALSE(other->WriteLock(true));
        EXPECT_FALSE(other->ReadLock(true));
        EXPECT_FALSE(FileTryWriteLock(*other).HoldsLock());
        EXPECT_EQ(QzTest::RunInChild([&] { return Open()->WriteLock(true) ? 1 : 0; }), 0);
        // Closing another descriptor of the file must not free the lock.
        Open()->Close();
        EXPECT_FALSE(other->WriteLock(true));
        lock.Unlock();
        EXPECT_FALSE(lock.HoldsLock());
        EXPECT_TRUE(FileTryWriteLock(*other).HoldsLock());
    }
    EXPECT_TRUE(file->ReadLock(true));
    EXPECT_TRUE(other->ReadLock(true));
    EXPECT_FALSE(other->WriteLock(true));
    static_cast<ReadableFile&>(*file).Unlock();
    static_cast<ReadableFile&>(*other).Unlock();
    FileWriteLock const nothing;

    // A process that dies holding the lock gives it up.
    EXPECT_EQ(QzTest::RunInChild([&] { return Open()->WriteLock(false) ? 0 : 1; }), 0);
    EXPECT_TRUE(file->WriteLock(false));
    EXPECT_GT(file->GetWriteLockTimer().GetTotalNanoseconds(), 0);
    EXPECT_GT(file->GetReadLockTimer().GetTotalNanoseconds(), 0);
    EXPECT_EQ(file->GetWriteTimer().GetTotalNanoseconds(), 0);
}

TEST_F(FileObjects, TryingForSomeTime)
{
    static std::vector<unsigned int> gPauses;
    static UpdateableFile* gpHolder = nullptr;
    auto const holder = Open();
    auto const file = Open();
    auto const realSleep = QzOs::gCalls.mpSleep;
    QzOs::gCalls.mpSleep = [](unsigned int milliseconds)
    {
        gPauses.push_back(milliseconds);
        if (gpHolder && gPauses.size() == 2)
            static_cast<WriteableFile*>(gpHolder)->Unlock();
    };
    struct
    {
        unsigned int mMilliseconds;
        UpdateableFile* mpGivesUp;
        std::vector<unsigned int> mPauses;
    } const rows[] = {{0, nullptr, {}}, {12000, nullptr, {5000, 5000, 2000}}, {5000, nullptr, {5000}},
        {12000, holder.get(), {5000, 5000}}};
    for (auto const& row : rows)
    {
        gPauses.clear();
        gpHolder = row.mpGivesUp;
        FileWriteLock const lock(*holder);
        EXPECT_EQ(FileTryWriteLock(*file, row.mMilliseconds).HoldsLock(), row.mpGivesUp != nullptr);
        EXPECT_EQ(gPauses, row.mPauses);
    }
    QzOs::gCalls.mpSleep = realSleep;
}

TEST_F(FileObjects, AForkedChildGetsAnOpenFileOfItsOwn)
{
    auto const file = Open();
    file->WriteText("0123456789", 0);
    file->SetPosition(4);
    {
        CountCalls<&Kernel::mpOpen> opens;
        file->ReopenAfterFork();
        EXPECT_EQ(opens.Get(), 0);
    }
    FileWriteLock const lock(*file);
    rename(In("file").c_str(), In("moved").c_str());
    int const status = QzTest::RunInChild(
        [&]
        {
            file->ReopenAfterFork();
            bool const isApart = !file->WriteLock(true);
            static_cast<WriteableFile&>(*file).Unlock();
            bool const keepsPosition = file->GetPosition() == 4;
            file->WriteText("child", 0);
            return isApart && keepsPosition ? 0 : 1;
        });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(file->GetPosition(), 4);
    auto const other = CreateUpdateableFile(WideIn("moved").c_str(), KeepOnClose);
    EXPECT_FALSE(other->WriteLock(true)) << "the child's unlock freed the parent's lock";
    EXPECT_EQ(Get("moved"), "0123child9");
}
