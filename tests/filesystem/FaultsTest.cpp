#include "filesystem/FailureText.h"
#include "filesystem/KernelFaults.h"

#include "filesystem/Directories.h"
#include "filesystem/DirectoryWalk.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileGuards.h"
#include "filesystem/stdio/FileStreams.h"
#include "os/Restore.h"
#include "os/posix/Output.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <span>

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;
using namespace std::string_literals;
using QzOs::Posix::gKernel;
using QzOs::Posix::Kernel;

// Every call to the kernel that an operation makes is made to fail, one after the other.

namespace
{
    using K = Kernel;

    /// They are taken up again after a signal.
    std::set<std::string_view> const kInterruptible = {"Open", "Close", "Read", "Write", "Writev", "WriteAtOnce",
        "CopyFileRange", "Flock", "Ftruncate", "Fsync", "Fdatasync", "Statvfs", "Mkostemp"};

    struct Operation
    {
        char const* mName;
        Action mAction;
        /// The texts of its failures, each of them once, without the folder. None: any.
        std::vector<std::string> mTexts = {};
        bool mMayLeaveAPart = false;
        /// The calls whose failure it gets over, besides those that all do.
        std::set<std::string_view> mGetsOver = {};
    };

    std::set<std::string_view> const kAllGetOver = {"Close", "Getrlimit", "Sigaction"};

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
        file->SetPosition(4);
        file->Truncate();
        file->Flush();
        file->Close();
    }

    void UseStream()
    {
        File::ScopedStream const stream(File::OpenStream(u"file"_w, kOpenUpdate, kShareDefault));
        File::Write(stream.Get(), "more", 0);
        File::Flush(stream.Get());
        File::SetPosition(stream.Get(), File::GetPosition(stream.Get()) - 4);
        File::Read(stream.Get(), *MakeBinary(8), 2);
        File::ReadLine(stream.Get(), *MakeBinary(8));
    }

    void UseDirectories()
    {
        EXPECT_EQ(GetFileSize64(u"file"_w), 7u);
        std::uint64_t space = 0;
        GetDiskFreeSpace(u"."_w, space, space);
        ThrowReport([](auto* err) { return CopyFileAttributes(u"other"_w, u"file"_w, err) == 1; });
        std::unique_ptr<QzDataType::StringCollection> const found(FindFiles(u"*"_w));
        EXPECT_EQ(found->GetCount(), 3u);
        CreateDirectory(u"empty/tree"_w, true);
        SetCurrentWorkingDirectory(u"empty"_w);
        GetAbsolutePath(u"file"_w);
        ThrowReport([](auto* err) { return RemoveDirectoryTree(u"tree"_w, err); });
    }

    void CopyAsLogs()
    {
        auto const file = CreateUpdateableFile(u"file"_w, KeepOnClose);
        File::ScopedDescriptor const copy(file->OpenDescriptorOfCopy(u"other"_w));
        file->OffloadCopy(copy.Get(), 0);
        BinaryPtr const rest = MakeBinary(100);
        for (file->ReadBinary(*rest, 0); rest->GetSize() != 0; file->ReadBinary(*rest, 0))
            File::WriteDescriptor(copy.Get(), rest->GetData(), rest->GetSize());
    }

    /// Beyond the limit of file sizes, by a thread that blocks its signal.
    void WriteTooMuch()
    {
        sigset_t signals;
        sigset_t before;
        sigemptyset(&signals);
        sigaddset(&signals, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &signals, &before);
        rlimit all;
        getrlimit(RLIMIT_FSIZE, &all);
        rlimit const limit{8, all.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::shared_ptr<void> const undo(nullptr,
            [&](void*)
            {
                setrlimit(RLIMIT_FSIZE, &all);
                timespec const atOnce{};
                sigtimedwait(&signals, nullptr, &atOnce);
                pthread_sigmask(SIG_SETMASK, &before, nullptr);
            });
        auto const file = CreateUpdateableFile(u"file"_w, KeepOnClose);
        file->SetPosition(8);
        EXPECT_NE(Catch([&] { file->WriteText("beyond", 0); }), "");
    }

    /// To a pipe, until it is full.
    void WriteToStandardError()
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        fcntl(ends[1], F_SETPIPE_SZ, 4096);
        int const before = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        dup2(ends[1], STDERR_FILENO);
        WideText const text(Wide(std::string(3000, 'x')));
        for (int i = 0; i < 2; ++i)
            QzOs::Posix::WriteDebugOutput(text);
        dup2(before, STDERR_FILENO);
        for (int const each : {before, ends[0], ends[1]})
            close(each);
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
        {"move to a free name", [] { EXPECT_TRUE(MoveFileToFreeName(u"file"_w, u"new"_w)); },
            {"Failed to move file 'file' to 'new'."}},
        {"move across", MoveAcross, {"Failed to move file 'file' to 'other'."}},
        {"delete", [] { ThrowReport([](auto* err) { return DeleteFile(u"file"_w, err); }); },
            {"Failed to delete file 'GUID'."}, true, {"Lstat", "Rename"}},
        {"create", [] { CreateDirectory(u"a/b"_w, true); },
            {"Failed to create directory 'a'.", "Failed to create directory 'a/b'."}, false, {"Statx"}},
        {"stream", UseStream, {}, true, {"Fclose"}}, {"directories", UseDirectories, {}, true, {"Closedir", "Statx"}},
        {"copy", CopyAsLogs, {}, true,
            {"CopyFileRange", "Fchmod", "Fchown", "Fgetxattr", "Fremovexattr", "Fsetxattr", "Fstat", "Unlink"}},
        {"size limit", WriteTooMuch, {}, false, {"Getcwd", "Sigmask", "Sigpending", "Sigtimedwait", "Write"}},
        {"standard error", WriteToStandardError, {}, false, {"Poll", "Sigmask", "Sigtimedwait", "WriteAtOnce"}}};

    class Faults : public TemporaryFolder, Restore
    {
    protected:
        Faults()
        {
            SetTemporary(mFolder);
            pthread_sigmask(SIG_SETMASK, nullptr, &mSignals);
            // Files have an access control list, and nobody makes room.
            gKernel.mpFgetxattr = [](int, char const*, void* list, std::size_t) -> ssize_t
            { return std::memset(list, 0, 4), 4; };
            gKernel.mpPoll = [](pollfd*, nfds_t, int) { return 0; };
            // The system copies a few bytes at a time, so that a failure finds a part of a copy.
            gKernel.mpCopyFileRange =
                [](int from, off_t* start, int to, off_t* end, std::size_t size, unsigned int flags)
            { return copy_file_range(from, start, to, end, std::min<std::size_t>(size, 3), flags); };
            gKernel.mpFsync = gKernel.mpFdatasync = [](int) { return 0; }; // which takes its time
        }

        /// Where a change of the blocked signals has failed, they are still blocked.
        ~Faults() override { pthread_sigmask(SIG_SETMASK, &mSignals, nullptr); }

        void Prepare() const
        {
            std::filesystem::current_path(mFolder);
            MakeFolder("empty");
            for (auto const& folder : {mFolder, In("empty")})
                for (auto const& entry : std::filesystem::directory_iterator(folder))
                    if (entry.path() != In("empty"))
                        std::filesystem::remove_all(entry);
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

        /// Runs the operation with calls that fail. A failure tells the error, leaves each file as it was before
        /// or as it is afterwards, takes none away and loses no descriptor.
        void Fail(Operation const& operation, KernelFault const& fault, int skip)
        {
            SCOPED_TRACE(testing::Message() << operation.mName << ' ' << fault.mCall.mName << ' ' << skip << ' '
                                            << fault.mError << ' ' << fault.mTimes);
            Prepare();
            std::ptrdiff_t const descriptors = CountOpenDescriptors();
            auto failing = fault.mCall.mpFail(fault.mError, skip, fault.mTimes);
            std::string const failure = Catch(operation.mAction);
            failing.reset();
            EXPECT_EQ(CountOpenDescriptors(), descriptors);
            Snapshot const present = TakeSnapshot();
            bool const isTakenUp = fault.mError == EINTR && kInterruptible.count(fault.mCall.mName) == 1;
            if (failure.empty())
            {
                EXPECT_TRUE(isTakenUp || fault.mError < 0 ||
                            operation.mGetsOver.count(fault.mCall.mName) + kAllGetOver.count(fault.mCall.mName) == 1);
                EXPECT_EQ(present, mAfter);
                return;
            }
            EXPECT_FALSE(isTakenUp) << failure;
            if (fault.mError == EIO && fault.mTimes == 1)
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
            mFailures.clear();
            auto const go = [&]
            {
                Prepare();
                mBefore = TakeSnapshot();
                EXPECT_EQ(Catch(operation.mAction), "") << operation.mName;
                mAfter = TakeSnapshot();
            };
            mReached.merge(ForEachFault(go, [&](KernelFault const& fault, int skip) { Fail(operation, fault, skip); }));
            std::set<std::string> expected;
            for (std::string const& text : operation.mTexts)
                expected.insert(text.find("Failed") == 0 ? DescribeFailure(text, EIO) : DescribeCall(text, EIO));
            EXPECT_TRUE(expected.empty() || mFailures == expected) << testing::PrintToString(mFailures);
        }

        sigset_t mSignals;
        CallCounts mReached;
        std::set<std::string> mFailures;
        Snapshot mBefore;
        Snapshot mAfter;
    };
}

TEST_F(Faults, InEveryCall)
{
    for (Operation const& operation : kOperations)
        Walk(operation);
    for (KernelCall const& call : kKernelCalls)
        EXPECT_EQ(mReached.count(call.mName), 1u) << call.mName << " is called by no operation here";
}

// Neither with all three closed, nor with one that the program closes while a file is being opened.
TEST_F(Faults, NoFileGetsAStandardDescriptor)
{
    ExpectInChild(
        [this]
        {
            close_range(0, 2, 0);
            static int gLowest = INT_MAX;
            static auto const note = [](int opened) { return gLowest = std::min(gLowest, opened), opened; };
            gKernel.mpOpen = [](char const* path, int flags, mode_t mode) { return note(open(path, flags, mode)); };
            gKernel.mpMkostemp = [](char* path, int flags) { return note(mkostemp(path, flags)); };
            for (Operation const& operation : std::span(kOperations).first<std::size(kOperations) - 1>())
            {
                Prepare();
                Catch(operation.mAction);
            }
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

// By a process that may not give the file's owner to another file.
TEST_F(Faults, AMoveAcrossKeepsTheContentAndItsTime)
{
    Prepare();
    timespec const times[2] = {{1'000, 0}, {2'000, 0}};
    utimensat(AT_FDCWD, "file", times, 0);
    Watch<&K::mpFchown> const refused(EPERM);
    EXPECT_EQ(Catch(MoveAcross), "");
    EXPECT_EQ(Get("other"), "content");
    struct stat status;
    stat("other", &status);
    EXPECT_EQ(status.st_mtim.tv_sec, 2'000);
}
