#include "filesystem/KernelFaults.h"
#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/Directories.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"

#include <fcntl.h>

#include <functional>
#include <memory>

using namespace QzFileSystem;
using QzOs::Posix::Kernel;
using QzTest::Catch;
using QzTest::FailOnce;
using QzTest::Wide;

namespace
{
    std::size_t CountOpenDescriptors()
    {
        auto const all = std::filesystem::directory_iterator("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    using Action = std::function<void()>;

    struct Row
    {
        char const* mName;
        std::unique_ptr<QzTest::KernelFault> (*mpFault)(int error, int skip);
        int mError;
        Action mAction;
        /// The words of the failure; null where the action succeeds all the same.
        char const* mText;
        /// How many calls go well before the one that fails.
        int mSkip = 0;
    };

    class Faults : public QzTest::TemporaryFolder
    {
    protected:
        Faults() : mPath(WideIn("file")), mOther(WideIn("other"))
        {
            Put("file", "content");
            Put("other", "other content");
            mkdir(In("folder").c_str(), 0777);
            Put("folder/x", "1");
            mpFile = CreateUpdateableFile(mPath.c_str(), KeepOnClose);
            mpBinary.reset(QzDataType::CreateBinary(100, nullptr));
        }

        /// An action that reports into a message; throws that.
        template <class Operation>
        static Action Reporting(Operation&& operation)
        {
            return [operation]
            {
                QzBase::Message err;
                if (!operation(&err) && err.GetID() != 0)
                    throw err;
            };
        }

        /// An action on a stream of the file.
        template <class Operation>
        Action Streaming(OpenMode mode, Operation&& operation) const
        {
            return [this, mode, operation]
            {
                File::ScopedStream const stream(File::OpenStream(mPath.c_str(), mode, kShareDefault));
                operation(stream.Get());
            };
        }

        /// Moves "file" as between two file systems.
        void MoveAcross() const
        {
            FailOnce<&Kernel::mpRename> const otherFileSystem(EXDEV);
            MoveFile(mPath.c_str(), mOther.c_str());
        }

        void Expect(Row const& row)
        {
            SCOPED_TRACE(row.mName);
            auto const before = TakeSnapshot();
            std::size_t const descriptors = CountOpenDescriptors();
            std::string failure;
            {
                auto const fault = row.mpFault(row.mError, row.mSkip);
                failure = Catch(row.mAction);
            }
            EXPECT_EQ(CountOpenDescriptors(), descriptors);
            if (!row.mText)
            {
                EXPECT_EQ(failure, "");
                return;
            }
            EXPECT_NE(failure.find(row.mText), std::string::npos) << failure;
            EXPECT_NE(failure.find('/' + std::to_string(row.mError) + ' '), std::string::npos) << failure;
            EXPECT_NE(failure.find(strerror(row.mError)), std::string::npos) << failure;
            EXPECT_EQ(TakeSnapshot(), before);
            // Once the fault is over the same goes well, on the same objects.
            EXPECT_EQ(Catch(row.mAction), "");
        }

        QzBase::WideString mPath;
        QzBase::WideString mOther;
        std::unique_ptr<UpdateableFile> mpFile;
        std::unique_ptr<QzDataType::Binary> mpBinary;
    };
}

TEST_F(Faults, OfFileObjects)
{
    UpdateableFile& file = *mpFile;
    char byte = 0;
    Row const rows[] = {
        {"open", FailOnce<&Kernel::mpOpen>::Make, EACCES,
            [&] { CreateUpdateableFile(mPath.c_str(), DeleteOnClose)->Close(); }, "CreateFileW failed for"},
        {"flock", FailOnce<&Kernel::mpFlock>::Make, ENOLCK, [&] { FileWriteLock lock(file); }, "Failed to lock"},
        {"lseek", FailOnce<&Kernel::mpLseek>::Make, EIO, [&] { file.MovePositionToEnd(); },
            "Failed to set current position"},
        {"lseek", FailOnce<&Kernel::mpLseek>::Make, EIO, [&] { file.GetPosition(); }, "Failed to get current position"},
        {"fstat", FailOnce<&Kernel::mpFstat>::Make, EIO, [&] { file.GetSize(); }, "Failed to get size"},
        {"fstat", FailOnce<&Kernel::mpFstat>::Make, EIO,
            Reporting([&](QzBase::Message* err) { return file.IsSameFile(err); }), "Failed to get attributes"},
        {"ftruncate", FailOnce<&Kernel::mpFtruncate>::Make, EIO,
            [&]
            {
                file.MovePositionToEnd();
                file.Truncate();
            },
            "Failed to truncate"},
        {"fdatasync", FailOnce<&Kernel::mpFdatasync>::Make, EIO, [&] { file.Flush(); }, "Failed to flush"},
        {"write", FailOnce<&Kernel::mpWrite>::Make, ENOSPC, [&] { file.Write("x", 1); }, "Failed to write 1 bytes"},
        {"read", FailOnce<&Kernel::mpRead>::Make, EIO,
            [&]
            {
                file.SetPosition(0);
                file.Read(&byte, 1);
            },
            "Failed to read 1 bytes"},
        {"read", FailOnce<&Kernel::mpRead>::Make, EIO, [&] { file.ReadLine(*mpBinary); }, "Failed to read 100 bytes"},
        {"getrlimit", FailOnce<&Kernel::mpGetrlimit>::Make, EPERM,
            [&] { CreateUpdateableFile(mPath.c_str(), KeepOnClose)->Write("x", 1); }, nullptr},
        {"sigaction", FailOnce<&Kernel::mpSigaction>::Make, EPERM,
            [&] { CreateUpdateableFile(mPath.c_str(), KeepOnClose)->Write("x", 1); }, nullptr},
    };
    for (Row const& row : rows)
        Expect(row);
    EXPECT_FALSE(CreateUpdateableFile(mPath.c_str(), KeepOnClose)->IsSameFile(nullptr) &&
                 FailOnce<&Kernel::mpStat>::Make(EACCES, 0) && file.IsSameFile(nullptr));
    auto const closing = CreateUpdateableFile(mPath.c_str(), DeleteOnClose);
    auto const fault = FailOnce<&Kernel::mpClose>::Make(EIO, 0);
    EXPECT_NE(Catch([&] { closing->Close(); }), "");
    EXPECT_NE(Catch([&] { closing->GetSize(); }), "") << "the object counts as closed";
}

TEST_F(Faults, SignalsAreNoFailures)
{
    UpdateableFile& file = *mpFile;
    std::uint64_t number = 0;
    Row const rows[] = {
        {"open", FailOnce<&Kernel::mpOpen>::Make, EINTR, [&] { CreateUpdateableFile(mPath.c_str(), KeepOnClose); },
            nullptr},
        {"close", FailOnce<&Kernel::mpClose>::Make, EINTR,
            [&] { CreateUpdateableFile(mPath.c_str(), KeepOnClose)->Close(); }, nullptr},
        {"flock", FailOnce<&Kernel::mpFlock>::Make, EINTR, [&] { FileWriteLock lock(file); }, nullptr},
        {"write", FailOnce<&Kernel::mpWrite>::Make, EINTR, [&] { file.Write("x", 1); }, nullptr},
        {"read", FailOnce<&Kernel::mpRead>::Make, EINTR, [&] { file.ReadBinary(*mpBinary, 0); }, nullptr},
        {"ftruncate", FailOnce<&Kernel::mpFtruncate>::Make, EINTR, [&] { file.Truncate(); }, nullptr},
        {"fdatasync", FailOnce<&Kernel::mpFdatasync>::Make, EINTR, [&] { file.Flush(); }, nullptr},
        {"fsync", FailOnce<&Kernel::mpFsync>::Make, EINTR, [&] { MoveAcross(); }, nullptr},
        {"statvfs", FailOnce<&Kernel::mpStatvfs>::Make, EINTR,
            [&] { GetDiskFreeSpace(mOther.c_str(), number, number); }, nullptr},
    };
    for (Row const& row : rows)
    {
        // A signal that closes a descriptor twice would hit another one's.
        std::size_t const descriptors = CountOpenDescriptors();
        auto const fault = row.mpFault(row.mError, row.mSkip);
        EXPECT_EQ(Catch(row.mAction), "") << row.mName;
        EXPECT_LE(CountOpenDescriptors(), descriptors + 1) << row.mName;
    }
}

TEST_F(Faults, OfPaths)
{
    QzDataType::DateTime time(0.0);
    std::uint64_t number = 0;
    Row const rows[] = {
        {"stat", FailOnce<&Kernel::mpStat>::Make, EACCES, [&] { GetFileSize64(mPath.c_str()); }, "Failed to get size"},
        {"stat", FailOnce<&Kernel::mpStat>::Make, EACCES, [&] { GetLastModifiedTime(mPath.c_str(), time); },
            "Failed to get attributes"},
        {"chmod", FailOnce<&Kernel::mpChmod>::Make, EPERM,
            Reporting(
                [&](QzBase::Message* err) { return CopyFileAttributes(mPath.c_str(), mOther.c_str(), err) == 1; }),
            "Failed to set attributes"},
        {"statvfs", FailOnce<&Kernel::mpStatvfs>::Make, EIO, [&] { GetDiskFreeSpace(mPath.c_str(), number, number); },
            "Failed to get disk free space"},
        {"open", FailOnce<&Kernel::mpOpen>::Make, EMFILE, [&] { delete FindFiles(WideIn("*").c_str()); },
            "Unable to find file"},
        {"fdopendir", FailOnce<&Kernel::mpFdopendir>::Make, ENOMEM, [&] { delete FindFiles(WideIn("*").c_str()); },
            "Unable to find file"},
        {"readdir", FailOnce<&Kernel::mpReaddir>::Make, EIO, [&] { delete FindFiles(WideIn("*").c_str()); },
            "Unable to find file"},
        {"getcwd", FailOnce<&Kernel::mpGetcwd>::Make, EACCES, [] { GetCurrentWorkingDirectory(); },
            "GetCurrentDirectoryW failed."},
        {"getcwd", FailOnce<&Kernel::mpGetcwd>::Make, ERANGE, [] { GetCurrentWorkingDirectory(); }, nullptr},
        {"chdir", FailOnce<&Kernel::mpChdir>::Make, EACCES, [] { SetCurrentWorkingDirectory(Wide(".").c_str()); },
            "SetCurrentDirectoryW failed for '.'."},
        {"mkostemp", FailOnce<&Kernel::mpMkostemp>::Make, EACCES,
            [] { DeleteFile(CreateTemporaryFile(Wide("qzlog").c_str()).c_str(), nullptr); },
            "GetTempFileNameW failed for 'qzlog'."},
        {"mkdir", FailOnce<&Kernel::mpMkdir>::Make, ENOSPC, [&] { CreateDirectory(WideIn("a/b").c_str(), true); },
            "Failed to create directory"},
        {"rmdir", FailOnce<&Kernel::mpRmdir>::Make, EBUSY,
            Reporting([&](QzBase::Message* err) { return RemoveDirectory(WideIn("a/b").c_str(), err); }),
            "Failed to delete directory"},
        {"rename", FailOnce<&Kernel::mpRename>::Make, EACCES, [&] { MoveFile(mPath.c_str(), WideIn("moved").c_str()); },
            "Failed to move file"},
        {"unlink", FailOnce<&Kernel::mpUnlink>::Make, EBUSY,
            [&]
            {
                // In place, as for a file that lies on another file system than the temporary files.
                FailOnce<&Kernel::mpRename> const otherFileSystem(EXDEV);
                Reporting([&](QzBase::Message* err) { return DeleteFile(mOther.c_str(), err); })();
            },
            "Failed to delete file"},
    };
    for (Row const& row : rows)
        Expect(row);
    EXPECT_FALSE(std::filesystem::exists(In("other")));

    // What cannot be deleted stops neither its neighbours nor the report.
    Put("folder/y", "1");
    FailOnce<&Kernel::mpLstat> const fault(EIO);
    QzBase::Message err;
    RemoveDirectoryTree(WideIn("folder").c_str(), &err);
    EXPECT_FALSE(std::filesystem::exists(In("folder/x")) && std::filesystem::exists(In("folder/y")));
}

TEST_F(Faults, OfMovesBetweenFileSystems)
{
    Row const rows[] = {
        {"mkostemp", FailOnce<&Kernel::mpMkostemp>::Make, EACCES, nullptr, nullptr},
        {"open", FailOnce<&Kernel::mpOpen>::Make, EACCES, nullptr, nullptr},
        {"read", FailOnce<&Kernel::mpRead>::Make, EIO, nullptr, nullptr},
        {"write", FailOnce<&Kernel::mpWrite>::Make, ENOSPC, nullptr, nullptr},
        {"fchown", FailOnce<&Kernel::mpFchown>::Make, EIO, nullptr, nullptr},
        {"fchmod", FailOnce<&Kernel::mpFchmod>::Make, EPERM, nullptr, nullptr},
        {"futimens", FailOnce<&Kernel::mpFutimens>::Make, EIO, nullptr, nullptr},
        {"fsync", FailOnce<&Kernel::mpFsync>::Make, EIO, nullptr, nullptr},
        {"close", FailOnce<&Kernel::mpClose>::Make, EIO, nullptr, nullptr, 1},
    };
    chmod(In("file").c_str(), 0640);
    timespec const times[2] = {{1000, 0}, {2000, 0}};
    utimensat(AT_FDCWD, In("file").c_str(), times, 0);
    auto const before = TakeSnapshot();
    for (Row const& row : rows)
    {
        SCOPED_TRACE(row.mName);
        std::size_t const descriptors = CountOpenDescriptors();
        auto const fault = row.mpFault(row.mError, row.mSkip);
        std::string const failure = Catch([&] { MoveAcross(); });
        EXPECT_EQ(failure,
            QzTest::DescribeFailure("Failed to move file '" + In("file") + "' to '" + In("other") + "'.", row.mError));
        EXPECT_EQ(TakeSnapshot(), before);
        EXPECT_LE(CountOpenDescriptors(), descriptors + (row.mpFault == FailOnce<&Kernel::mpClose>::Make));
    }
    EXPECT_EQ(Catch([&] { MoveAcross(); }), "");
    EXPECT_EQ(TakeSnapshot(),
        (std::map<std::string, std::string>{{"folder", "folder"}, {"folder/x", "1"}, {"other", "content"}}));
    struct stat status;
    stat(In("other").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(status.st_mtim.tv_sec, 2000);

    // The source that cannot go is a failure; by then both names have the whole content.
    Put("file", "again");
    FailOnce<&Kernel::mpUnlink> const fault(EBUSY);
    EXPECT_NE(Catch([&] { MoveAcross(); }), "");
    EXPECT_EQ(Get("file") + Get("other"), "againagain");
}

TEST_F(Faults, OfDescriptorsAndStreams)
{
    QzBase::WideString const copy = WideIn("other");
    auto const copyBetween = [&] { CopyFile(mPath.c_str(), copy.c_str()); };
    auto const copyDescriptor = [&]
    {
        File::ScopedDescriptor const from(File::OpenDescriptor(mPath.c_str(), kOpenRead, kShareDefault));
        File::ScopedDescriptor const to(File::OpenDescriptor(copy.c_str(), kOpenUpdate, kShareDefault));
        File::Copy(from.Get(), to.Get(), *mpBinary);
        File::SetPosition(to.Get(), 0);
        File::Truncate(to.Get(), 13);
        File::WriteLock(to.Get(), true);
        static_cast<void>(File::GetSize(to.Get()));
    };
    auto const ignore = [](std::FILE*) {};
    Row const rows[] = {
        {"open", FailOnce<&Kernel::mpOpen>::Make, EACCES, copyBetween, "OpenDescriptor: ::CreateFileW failed for '"},
        {"fdopen", FailOnce<&Kernel::mpFdopen>::Make, ENOMEM, Streaming(kOpenRead, ignore), "::_fdopen failed for '"},
        {"read", FailOnce<&Kernel::mpRead>::Make, EIO, copyDescriptor, "Copy: ::read failed for file #"},
        {"write", FailOnce<&Kernel::mpWrite>::Make, ENOSPC, copyDescriptor, "Copy: ::write failed for file #"},
        {"fdatasync", FailOnce<&Kernel::mpFdatasync>::Make, EIO, copyDescriptor, "Flush: ::_commit failed."},
        {"ftruncate", FailOnce<&Kernel::mpFtruncate>::Make, EIO, copyDescriptor, "Truncate: ::_chsize failed."},
        {"lseek", FailOnce<&Kernel::mpLseek>::Make, EIO, copyDescriptor, "SetPosition: ::lseek failed."},
        {"flock", FailOnce<&Kernel::mpFlock>::Make, ENOLCK, copyDescriptor, "WriteLock: Failed to lock file #"},
        {"fflush", FailOnce<&Kernel::mpFflush>::Make, ENOSPC,
            Streaming(kOpenWrite, [](std::FILE* stream) { File::Flush(stream); }), "Flush: ::fflush failed."},
        {"fdatasync", FailOnce<&Kernel::mpFdatasync>::Make, EIO,
            Streaming(kOpenWrite, [](std::FILE* stream) { File::Flush(stream); }), "Flush: ::fflush failed."},
        {"fwrite", FailOnce<&Kernel::mpFwrite>::Make, ENOSPC,
            Streaming(kOpenUpdate, [](std::FILE* stream) { File::Write(stream, "content", 0); }), "Write: Failed."},
        {"fseeko", FailOnce<&Kernel::mpFseeko>::Make, EIO,
            Streaming(kOpenRead, [](std::FILE* stream) { File::SetPosition(stream, 1); }), "::fseeko failed."},
        {"ftello", FailOnce<&Kernel::mpFtello>::Make, EIO,
            Streaming(kOpenRead, [](std::FILE* stream) { File::GetPosition(stream); }), "::ftello failed."},
    };
    for (Row const& row : rows)
    {
        Put("other", std::string("content\0\0\0\0\0\0", 13));
        Expect(row);
    }
}
