#include "filesystem/FailureText.h"
#include "filesystem/KernelFaults.h"

#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/Paths.h"
#include "os/Restore.h"

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;
using QzOs::Posix::Kernel;

namespace
{
    class FileObjects : public TemporaryFolder, Restore
    {
    protected:
        static std::unique_ptr<UpdateableFile> Open(CloseDisposition disposition = KeepOnClose)
        {
            return CreateUpdateableFile(u"file"_w, disposition);
        }

        /// The file as failures show it.
        std::string Shown() const { return "file '" + Narrow(CombinePaths(WideIn("file"), u""_w)) + "'."; }
    };
}

TEST_F(FileObjects, WritesReadsAndMoves)
{
    mode_t const mask = umask(027);
    auto const file = Open();
    umask(mask);
    struct stat status;
    stat("file", &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    Put("file", "old");
    EXPECT_EQ(file->GetPosition(), 0);
    EXPECT_EQ(file->MovePositionToEnd(), 3);
    file->WriteText("abcdef", 2);
    file->WriteText("ghi", 0);
    EXPECT_EQ(file->MovePosition(-5), 3);
    char text[5];
    file->Read(text, 5);
    EXPECT_EQ(std::string(text, 5), "abghi");
    EXPECT_EQ(Get("file"), "oldabghi");
    file->SetPosition(4);
    EXPECT_EQ(Catch([&] { file->Read(text, 5); }), "1/305419896 Failed to read 1 bytes from " + Shown() + '\n');
    file->SetPosition(4);
    file->Truncate();
    EXPECT_TRUE(file->GetPosition() == 4 && file->GetSize() == 4);
    file->SetPosition(1);
    BinaryPtr const binary = MakeBinary(10);
    for (auto const& [maximum, content] : {std::pair(1u, "l"), {20u, "da"}, {0u, ""}})
        EXPECT_EQ((file->ReadBinary(*binary, maximum), ToString(*binary)), content);
    file->Flush();

    Watch<&Kernel::mpWrite> const writes;
    std::string const large = std::string(1 << 20, 'x') + "yz";
    file->SetPosition(0);
    file->Write(large.data(), large.size());
    EXPECT_EQ(writes.GetCount(), 2) << "at most 1 MiB each";
    std::string copy(large.size(), '\0');
    file->SetPosition(0);
    file->Read(copy.data(), copy.size());
    EXPECT_TRUE(Get("file") == large && copy == large);
}

TEST_F(FileObjects, ReadLine)
{
    Put("file", std::string("abcdefg\r\n\nab\0c", 14));
    auto const file = Open();
    BinaryPtr const binary = MakeBinary(4);
    for (std::string const line : {"abcd", "efg\r", "\n", "\n", "ab", ""})
        EXPECT_EQ((file->ReadLine(*binary), ToString(*binary)), line);
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
        ExpectInChild([&] { return file.reset(), true; });
        EXPECT_EQ(Get("file"), "content");
        if (isClosed)
            file->Close();
        file.reset();
        EXPECT_EQ(TakeSnapshot(), left);
    }
}

TEST_F(FileObjects, OpeningAndWhatIsClosedFail)
{
    EXPECT_EQ(Catch([] { CreateWriteableFile(u"C:\\x"_w, DeleteOnClose); }),
        DescribeCall("WriteableFileImpl::WriteableFileImpl: ::CreateFileW failed for 'C:\\x'.", ENOENT));
    auto const file = Open();
    file->Close();
    EXPECT_NE(Catch([&] { file->WriteText("x", 0); }).find(Shown() + "\n2/9 "), std::string::npos);
}

TEST_F(FileObjects, LocksExcludeObjectsAndProcesses)
{
    auto const file = Open();
    auto const other = Open();
    {
        FileWriteLock lock(*file);
        EXPECT_FALSE(other->WriteLock(true) || other->ReadLock(true) || FileTryWriteLock(*other).HoldsLock());
        ExpectInChild([] { return !Open()->WriteLock(true); });
        // Closing another descriptor of the file must not free the lock.
        Open()->Close();
        EXPECT_FALSE(other->WriteLock(true));
        auto const opensItsOwn = [&]
        {
            auto const descriptors = CountOpenDescriptors();
            file->ReopenAfterFork();
            return CountOpenDescriptors() == descriptors && !file->WriteLock(true);
        };
        ExpectInChild(opensItsOwn);
        QzOs::Posix::gKernel.mpOpen = OpenWithoutProc;
        ExpectInChild(opensItsOwn);
        auto const failsWithout = [&](bool isReplaced)
        {
            std::filesystem::rename(In("file"), In("moved"));
            if (isReplaced)
                Open();
            bool const fails = !Catch([&] { file->ReopenAfterFork(); }).empty();
            std::filesystem::rename(In("moved"), In("file"));
            return fails;
        };
        ExpectInChild([&] { return failsWithout(false) && failsWithout(true); });
        lock.Unlock();
        EXPECT_TRUE(!lock.HoldsLock() && FileTryWriteLock(*other).HoldsLock());
        EXPECT_TRUE(file->WriteLock(true));
        lock.Unlock();
        EXPECT_FALSE(other->WriteLock(true)) << "a lock that is not the guard's is given up";
    }
    static_cast<WriteableFile&>(*file).Unlock();
    EXPECT_TRUE(file->ReadLock(true) && other->ReadLock(true) && !other->WriteLock(true));
    for (auto const& each : {file.get(), other.get()})
        static_cast<ReadableFile&>(*each).Unlock();
    // A process that dies holding the lock gives it up.
    ExpectInChild([] { return Open()->WriteLock(false); });
    EXPECT_TRUE(file->WriteLock(false));
}

TEST_F(FileObjects, TryingForSomeTime)
{
    static std::vector<unsigned int> gPauses;
    static FileWriteLock* gpLock = nullptr;
    QzOs::gCalls.mpSleep = [](unsigned int milliseconds)
    {
        gPauses.push_back(milliseconds);
        if (milliseconds == 1000)
            gpLock->Unlock();
    };
    auto const file = Open();
    auto const holder = Open();
    FileWriteLock lock(*holder);
    gpLock = &lock;
    EXPECT_FALSE(FileTryWriteLock(*file, 5000).HoldsLock());
    EXPECT_TRUE(FileTryWriteLock(*file, 11000).HoldsLock());
    EXPECT_EQ(gPauses, (std::vector<unsigned int>{5000, 5000, 5000, 1000}));
}
