#include "filesystem/FailureText.h"
#include "filesystem/KernelFaults.h"

#include "filesystem/Directories.h"
#include "filesystem/DirectoryWalk.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"

#include <algorithm>
#include <set>

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;
using namespace std::string_literals;
using QzOs::Posix::gKernel;
using QzOs::Posix::Kernel;

// Every call to the kernel that an operation makes is made to fail, one after the other.

namespace
{
    struct Entry
    {
        char const* mpName;
        std::shared_ptr<void> (*mpFail)(int error, int skip);
        int (*mpGetCount)();
    };

    template <auto entry>
    Entry Make(char const* name)
    {
        return {name, Watch<entry>::Make, Watch<entry>::GetCount};
    }

    using K = Kernel;
    std::vector<Entry> const kEntries = {Make<&K::mpOpen>("Open"), Make<&K::mpClose>("Close"), Make<&K::mpRead>("Read"),
        Make<&K::mpWrite>("Write"), Make<&K::mpWritev>("Writev"), Make<&K::mpFlock>("Flock"),
        Make<&K::mpFtruncate>("Ftruncate"), Make<&K::mpFsync>("Fsync"), Make<&K::mpFdatasync>("Fdatasync"),
        Make<&K::mpLseek>("Lseek"), Make<&K::mpStatx>("Statx"), Make<&K::mpLstat>("Lstat"), Make<&K::mpFstat>("Fstat"),
        Make<&K::mpFchmod>("Fchmod"), Make<&K::mpFchown>("Fchown"), Make<&K::mpFutimens>("Futimens"),
        Make<&K::mpRename>("Rename"), Make<&K::mpUnlink>("Unlink"), Make<&K::mpMkostemp>("Mkostemp"),
        Make<&K::mpMkdir>("Mkdir"), Make<&K::mpGetrlimit>("Getrlimit"), Make<&K::mpSigaction>("Sigaction")};
    /// The first ones are taken up again after a signal.
    constexpr std::size_t kInterruptible = 9;

    struct Operation
    {
        char const* mName;
        Action mAction;
        /// The texts of its failures, each of them once, without the folder.
        std::vector<std::string> mTexts;
        bool mMayLeaveAPart = false;
        /// The calls whose failure it gets over, besides those that all do.
        std::set<std::string> mGetsOver = {};
    };

    std::set<std::string> const kAllGetOver = {"Close", "Getrlimit", "Sigaction"};

    void ThrowReport(std::function<bool(QzBase::Message* err)> const& operation)
    {
        QzBase::Message err;
        if (!operation(&err) && err.GetID() != 0)
            throw err;
    }

    /// Moves "file" as between two file systems: the first rename fails.
    void MoveAcross()
    {
        static auto gRename = gKernel.mpRename;
        gRename = gKernel.mpRename;
        gKernel.mpRename = [](char const*, char const*)
        {
            gKernel.mpRename = gRename;
            errno = EXDEV;
            return -1;
        };
        std::shared_ptr<void> const restore(nullptr, [](void*) { gKernel.mpRename = gRename; });
        MoveFile(u"file"_w, u"other"_w);
    }

    void UseObject()
    {
        auto const file = CreateUpdateableFile(u"file"_w, KeepOnClose);
        FileWriteLock const lock(*file);
        ThrowReport([&](QzBase::Message* err) { return file->IsSameFile(err); });
        file->SetPosition(file->GetPosition() + file->GetSize());
        file->MovePositionToEnd();
        file->WriteText("more", 0);
        file->WriteTexts("and", "more");
        file->SetPosition(0);
        file->ReadBinary(*MakeBinary(4), 0);
        file->Truncate();
        file->Flush();
        file->Close();
    }

    Operation const kOperations[] = {
        {"object", UseObject,
            {"UpdateableFileImpl::UpdateableFileImpl: ::CreateFileW failed for 'file'.", "Failed to lock file 'file'.",
                "Failed to get attributes of file 'file'.", "Failed to get current position of file 'file'.",
                "Failed to get size of file 'file'.", "Failed to set current position of file 'file'.",
                "Failed to write 4 bytes to file 'file'.", "Failed to write 7 bytes to file 'file'.",
                "Failed to read 4 bytes from file 'file'.", "Failed to truncate file 'file'.",
                "Failed to flush file 'file'.", "Failed to close handle of file 'file'."},
            true, {"Statx"}},
        {"move", [] { MoveFile(u"file"_w, u"new"_w); }, {"Failed to move file 'file' to 'new'."}},
        {"move across", MoveAcross, {"Failed to move file 'file' to 'other'."}},
        {"delete", [] { ThrowReport([](auto* err) { return DeleteFile(u"file"_w, err); }); },
            {"Failed to delete file 'GUID'."}, true, {"Lstat", "Rename"}},
        {"create", [] { CreateDirectory(u"a/b"_w, true); },
            {"Failed to create directory 'a'.", "Failed to create directory 'a/b'."}, false, {"Statx"}}};

    class Faults : public TemporaryFolder
    {
    protected:
        Faults() { SetTemporary(mFolder); }

        void Prepare() const
        {
            Clear();
            MakeFolder("empty");
            Put("file", "content");
            Put("other", "other content");
        }

        /// A failure without what differs from run to run.
        std::string Plain(std::string const& failure) const
        {
            std::string const here = Narrow(CombinePaths(Wide(mFolder), u""_w));
            std::string plain = failure;
            for (std::string const& folder : {here + '\\', mFolder + '/', mFolder})
                while (plain.find(folder) != plain.npos)
                    plain.erase(plain.find(folder), folder.size());
            for (std::size_t at = 0; (at = plain.find('\'', at)) != plain.npos; ++at)
                if (plain.find_first_not_of("0123456789ABCDEF-", at + 1) == at + 37)
                    plain.replace(at + 1, 36, "GUID");
            return plain;
        }

        /// Runs the operation with one call failing. A failure tells the error, leaves each file as it was before
        /// or as it is afterwards, takes none away and loses no descriptor.
        void Fail(Operation const& operation, Entry const& entry, int skip, int error)
        {
            SCOPED_TRACE(testing::Message() << operation.mName << ' ' << entry.mpName << ' ' << skip << ' ' << error);
            Prepare();
            std::ptrdiff_t const descriptors = CountOpenDescriptors();
            auto fault = entry.mpFail(error, skip);
            std::string const failure = Catch(operation.mAction);
            fault.reset();
            EXPECT_EQ(CountOpenDescriptors(), descriptors);
            Snapshot const present = TakeSnapshot();
            if (failure.empty())
            {
                EXPECT_TRUE(
                    error == EINTR || operation.mGetsOver.count(entry.mpName) + kAllGetOver.count(entry.mpName) == 1);
                EXPECT_EQ(present, mAfter);
                return;
            }
            EXPECT_EQ(error, EIO) << failure;
            mFailures.insert(Plain(failure));
            if (operation.mMayLeaveAPart)
                return;
            auto const isIn = [](Snapshot const& files, auto const& file)
            { return std::count(files.begin(), files.end(), file); };
            for (auto const& file : present)
                EXPECT_TRUE(isIn(mBefore, file) || isIn(mAfter, file)) << file.first << ": " << file.second;
            for (auto const& [name, content] : mBefore)
                EXPECT_EQ(present.count(name), 1u) << name;
        }

        /// Makes all the calls of an operation fail, one after the other.
        void Walk(Operation const& operation)
        {
            Prepare();
            mBefore = TakeSnapshot();
            std::vector<std::shared_ptr<void>> watches;
            for (Entry const& entry : kEntries)
                watches.push_back(entry.mpFail(0, 0));
            EXPECT_EQ(Catch(operation.mAction), "") << operation.mName;
            watches.clear();
            mAfter = TakeSnapshot();
            mFailures.clear();
            for (Entry const& entry : kEntries)
                for (int skip = 0, count = entry.mpGetCount(); skip < count; ++skip)
                    for (int const error : {EIO, EINTR})
                        if (error == EIO || &entry < &kEntries[kInterruptible])
                            Fail(operation, entry, skip, error);
            std::set<std::string> expected;
            for (std::string const& text : operation.mTexts)
                expected.insert(text.find("Failed") == 0 ? DescribeFailure(text, EIO) : DescribeCall(text, EIO));
            EXPECT_EQ(mFailures, expected) << operation.mName;
        }

        std::set<std::string> mFailures;
        Snapshot mBefore;
        Snapshot mAfter;
    };
}

TEST_F(Faults, InEveryCall)
{
    for (Operation const& operation : kOperations)
        Walk(operation);
}

// Neither with all three closed, nor with one that the program closes while a file is being opened.
TEST_F(Faults, NoFileGetsAStandardDescriptor)
{
    Prepare();
    ExpectInChild(
        []
        {
            close_range(0, 2, 0);
            static int gLowest = INT_MAX;
            static auto const note = [](int opened) { return gLowest = std::min(gLowest, opened), opened; };
            gKernel.mpOpen = [](char const* path, int flags, mode_t mode) { return note(open(path, flags, mode)); };
            gKernel.mpMkostemp = [](char* path, int flags) { return note(mkostemp(path, flags)); };
            for (Operation const& operation : kOperations)
                Catch(operation.mAction);
            std::unique_ptr<QzDataType::StringCollection> const names(FindFiles(u"*"_w));
            CreateTemporaryFile(u"new"_w);
            gKernel.mpOpen = [](char const* path, int flags, mode_t mode)
            {
                close(STDERR_FILENO);
                return open(path, flags, mode);
            };
            auto const file = CreateUpdateableFile(u"file"_w, KeepOnClose);
            auto const isFree = [](int descriptor) { return fcntl(descriptor, F_GETFD) == -1; };
            return gLowest > STDERR_FILENO && isFree(0) && isFree(1) && isFree(2);
        });
}

// By a process that may not give the file's owner to another file, onto a disk that takes a few bytes at a time.
TEST_F(Faults, AMoveAcrossKeepsTheContentAndItsTime)
{
    Prepare();
    timespec const times[2] = {{1'000, 0}, {2'000, 0}};
    utimensat(AT_FDCWD, "file", times, 0);
    auto const write = std::exchange(gKernel.mpWrite, [](int file, void const* data, std::size_t count)
        { return ::write(file, data, std::min<std::size_t>(count, 3)); });
    {
        Watch<&K::mpFchown> const refused(EPERM);
        EXPECT_EQ(Catch(MoveAcross), "");
    }
    gKernel.mpWrite = write;
    EXPECT_EQ(Get("other"), "content");
    struct stat status;
    stat("other", &status);
    EXPECT_EQ(status.st_mtim.tv_sec, 2'000);
}
