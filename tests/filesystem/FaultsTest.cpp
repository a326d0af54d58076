#include "filesystem/KernelFaults.h"
#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/Directories.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"

#include <algorithm>

using namespace QzFileSystem;
using namespace QzTest;
using QzOs::Posix::Kernel;

// Every call to the kernel that an operation makes is made to fail, one after the other.

namespace
{
    struct Entry
    {
        std::string mName;
        std::shared_ptr<void> (*mpFail)(int error, int skip);
        int (*mpGetCount)();
        bool mIsInterruptible;
    };

    template <auto entry>
    Entry At(char const* name, bool isInterruptible = false)
    {
        return {name, Watch<entry>::Make, Watch<entry>::GetCount, isInterruptible};
    }

    // Reading from streams fails by real causes in another test: a stream remembers its failures itself.
    Entry const kEntries[] = {At<&Kernel::mpOpen>("Open", true), At<&Kernel::mpClose>("Close", true),
        At<&Kernel::mpRead>("Read", true), At<&Kernel::mpWrite>("Write", true), At<&Kernel::mpFlock>("Flock", true),
        At<&Kernel::mpFtruncate>("Ftruncate", true), At<&Kernel::mpFsync>("Fsync", true),
        At<&Kernel::mpFdatasync>("Fdatasync", true), At<&Kernel::mpStatvfs>("Statvfs", true),
        At<&Kernel::mpLseek>("Lseek"), At<&Kernel::mpStat>("Stat"), At<&Kernel::mpLstat>("Lstat"),
        At<&Kernel::mpFstat>("Fstat"), At<&Kernel::mpChmod>("Chmod"), At<&Kernel::mpFchmod>("Fchmod"),
        At<&Kernel::mpFchown>("Fchown"), At<&Kernel::mpFutimens>("Futimens"), At<&Kernel::mpRename>("Rename"),
        At<&Kernel::mpUnlink>("Unlink"), At<&Kernel::mpMkostemp>("Mkostemp"), At<&Kernel::mpMkdir>("Mkdir"),
        At<&Kernel::mpRmdir>("Rmdir"), At<&Kernel::mpFdopendir>("Fdopendir"), At<&Kernel::mpReaddir>("Readdir"),
        At<&Kernel::mpClosedir>("Closedir"), At<&Kernel::mpGetcwd>("Getcwd"), At<&Kernel::mpChdir>("Chdir"),
        At<&Kernel::mpFdopen>("Fdopen"), At<&Kernel::mpFwrite>("Fwrite"), At<&Kernel::mpFflush>("Fflush"),
        At<&Kernel::mpFseeko>("Fseeko"), At<&Kernel::mpFtello>("Ftello"), At<&Kernel::mpFclose>("Fclose"),
        At<&Kernel::mpGetrlimit>("Getrlimit"), At<&Kernel::mpSigaction>("Sigaction")};

    struct Operation
    {
        char const* mName;
        Action mAction;
        /// The calls whose failure it gets over.
        std::string mGetsOver;
        bool mMayLeaveAPart = false;
    };

    class Faults : public TemporaryFolder
    {
    protected:
        Faults() { SetTemporary(mFolder); }

        void Prepare() const
        {
            std::filesystem::remove_all(mFolder);
            MakeFolder("empty");
            Put("file", "content");
            Put("other", "other content");
        }

        static std::ptrdiff_t CountOpenDescriptors()
        {
            return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
        }

        static void ThrowReport(std::function<bool(QzBase::Message* err)> const& operation)
        {
            QzBase::Message err;
            if (!operation(&err) && err.GetID() != 0)
                throw err;
        }

        /// Moves "file" as between two file systems: the first rename fails.
        void MoveAcross() const
        {
            static auto gNext = QzOs::Posix::gKernel.mpRename;
            gNext = QzOs::Posix::gKernel.mpRename;
            std::shared_ptr<void> const restore(nullptr, [](void*) { QzOs::Posix::gKernel.mpRename = gNext; });
            QzOs::Posix::gKernel.mpRename = [](char const*, char const*)
            {
                QzOs::Posix::gKernel.mpRename = gNext;
                errno = EXDEV;
                return -1;
            };
            MoveFile(mPath.c_str(), mOther.c_str());
        }

        /// Runs the operation with one call failing. A failure tells the error, leaves each file as it was before
        /// or as it is afterwards, loses no content and no descriptor.
        void Fail(Operation const& operation, Entry const& entry, int skip, int error)
        {
            SCOPED_TRACE(operation.mName + (' ' + entry.mName) + ' ' + std::to_string(skip) + strerror(error));
            Prepare();
            std::ptrdiff_t const descriptors = CountOpenDescriptors();
            auto fault = entry.mpFail(error, skip);
            std::string const failure = Catch(operation.mAction);
            fault.reset();
            EXPECT_EQ(CountOpenDescriptors(), descriptors);
            Snapshot const present = TakeSnapshot();
            if (failure.empty())
            {
                EXPECT_TRUE(error == EINTR || operation.mGetsOver.find(entry.mName) != std::string::npos);
                EXPECT_EQ(present, mAfter);
                return;
            }
            EXPECT_TRUE(error != EINTR && failure.find('/' + std::to_string(error) + ' ') != std::string::npos)
                << failure;
            if (operation.mMayLeaveAPart)
                return;
            for (auto const& file : present)
                EXPECT_TRUE(
                    std::count(mBefore.begin(), mBefore.end(), file) || std::count(mAfter.begin(), mAfter.end(), file))
                    << file.first << ": " << file.second;
            EXPECT_NE(std::find_if(present.begin(), present.end(), [](auto& file) { return file.second == "content"; }),
                present.end());
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
            std::vector<int> counts;
            for (Entry const& entry : kEntries)
                counts.push_back(entry.mpGetCount());
            watches.clear();
            mAfter = TakeSnapshot();
            for (std::size_t i = 0; i < counts.size(); ++i)
            {
                for (int skip = 0; skip < counts[i]; ++skip)
                {
                    Fail(operation, kEntries[i], skip, EIO);
                    if (kEntries[i].mIsInterruptible)
                        Fail(operation, kEntries[i], skip, EINTR);
                }
            }
        }

        std::vector<Operation> MakeOperations();

        QzBase::WideString const mPath = WideIn("file");
        QzBase::WideString const mOther = WideIn("other");
        BinaryPtr const mpBinary = MakeBinary(4);
        Snapshot mBefore;
        Snapshot mAfter;
    };

    std::vector<Operation> Faults::MakeOperations()
    {
        auto const useObject = [this]
        {
            auto const file = CreateUpdateableFile(mPath.c_str(), KeepOnClose);
            FileWriteLock const lock(*file);
            ThrowReport([&](QzBase::Message* err) { return file->IsSameFile(err); });
            file->SetPosition(file->GetPosition() + file->GetSize());
            file->MovePositionToEnd();
            file->WriteText("more", 0);
            file->SetPosition(0);
            file->ReadBinary(*mpBinary, 0);
            file->Truncate();
            file->Flush();
            file->Close();
        };
        auto const useDescriptor = [this]
        {
            File::ScopedDescriptor const from(File::OpenDescriptor(mPath.c_str(), kOpenRead, kShareDefault));
            File::ScopedDescriptor const to(File::OpenDescriptor(mOther.c_str(), kOpenUpdate, kShareDefault));
            File::WriteLock(to.Get(), true);
            File::Copy(from.Get(), to.Get(), *mpBinary);
            File::MovePosition(to.Get(), -File::GetPosition(from.Get()));
            File::Truncate(to.Get(), File::GetSize(from.Get()));
        };
        auto const useStream = [this]
        {
            File::ScopedStream const stream(File::OpenStream(mPath.c_str(), kOpenUpdate, kShareDefault));
            File::MoveBlock(stream.Get(), *mpBinary, 2, 0);
            File::Flush(stream.Get());
        };
        auto const askAll = [this]
        {
            QzDataType::DateTime time(0.0);
            std::uint64_t number = 0;
            GetFileSize(mPath.c_str());
            GetLastModifiedTime(mPath.c_str(), time);
            GetDiskFreeSpace(mPath.c_str(), number, number);
            SetCurrentWorkingDirectory(GetCurrentWorkingDirectory().c_str());
            delete FindFiles(WideIn("*").c_str());
            ThrowReport([&](auto* err) { return CopyFileAttributes(mPath.c_str(), mOther.c_str(), err) == 1; });
        };
        return {{"object", useObject, "Getrlimit Sigaction Stat", true},
            {"descriptor", useDescriptor, "Close Getrlimit Sigaction", true},
            {"stream", useStream, "Close Fclose Getrlimit Sigaction", true},
            {"copy", [this] { CopyFile(mPath.c_str(), mOther.c_str()); }, "Fclose Getrlimit Sigaction", true},
            {"ask", askAll, "Closedir"}, {"move", [this] { MoveFile(mPath.c_str(), WideIn("new").c_str()); }, ""},
            {"move across", [this] { MoveAcross(); }, "Close Getrlimit Sigaction"},
            {"delete", [this] { ThrowReport([&](auto* err) { return DeleteFile(mPath.c_str(), err); }); },
                "Lstat Rename", true},
            {"create", [this] { CreateDirectory(WideIn("a/b").c_str(), true); }, "Stat"},
            {"remove",
                [this] { ThrowReport([&](auto* err) { return RemoveDirectory(WideIn("empty").c_str(), err); }); }, ""},
            {"temporary", [] { unlink(Narrow(CreateTemporaryFile(Wide("qz").c_str())).c_str()); }, "Close"}};
    }
}

TEST_F(Faults, InEveryCall)
{
    for (Operation const& operation : MakeOperations())
        Walk(operation);
}
