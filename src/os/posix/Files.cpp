#include "os/Files.h"

#include "os/Backoff.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"
#include "os/posix/FilesSizeLimit.h"
#include "os/posix/Kernel.h"
#include "os/posix/KernelPath.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/uio.h>
#include <unistd.h>

namespace QzOs
{
    using Posix::gKernel;
    using Posix::KernelPath;
    using Posix::RetryOnSignal;
    using Posix::ToError;

    constinit Error const kErrorExists = EEXIST;
    constinit Error const kErrorInvalid = EINVAL;
    constinit Error const kErrorInvalidHandle = EBADF;
    constinit Error const kErrorLocked = EWOULDBLOCK;
    constinit Error const kErrorMissing = ENOENT;
    constinit Error const kErrorNoSpace = ENOSPC;
    constinit Error const kErrorOverflow = EOVERFLOW;

    namespace
    {
        constexpr mode_t kNewFileMode = 0666;
        constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

        int ToFlags(Access access)
        {
            switch (access)
            {
            case Access::Read:
                return O_RDONLY;
            case Access::Write:
                return O_WRONLY;
            case Access::ReadWrite:
                return O_RDWR;
            case Access::ReadAppend:
                return O_RDWR | O_APPEND;
            }
            return O_RDONLY;
        }

        int ToFlags(Creation creation)
        {
            switch (creation)
            {
            case Creation::OpenExisting:
                return 0;
            case Creation::OpenAlways:
                return O_CREAT;
            case Creation::CreateAlways:
                return O_CREAT | O_TRUNC;
            }
            return 0;
        }

        Error Open(char const* path, int flags, FileHandle& handle, mode_t newFileMode = kNewFileMode)
        {
            handle = Posix::OpenAboveStandard(
                [&] { return gKernel.mpOpen(path, flags | O_CLOEXEC | O_NOCTTY, newFileMode); });
            return handle == kNoFile ? errno : 0;
        }

        constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
        constexpr char const* kAccessList = "system.posix_acl_access";

        /// An owner may give a file to a group of his, and only root to another user.
        bool CopyGroup(struct stat const& model, int to)
        {
            return gKernel.mpFchown(to, model.st_uid, model.st_gid) == 0 ||
                   gKernel.mpFchown(to, static_cast<uid_t>(-1), model.st_gid) == 0;
        }

        /// Copies owner, group, permissions and access control list. What cannot be copied is left out, so that the
        /// file is open to fewer.
        void CopyAccess(int model, struct stat const& status, int to)
        {
            bool const hasGroup = CopyGroup(status, to);
            mode_t mode = status.st_mode & kPermissions;
            char list[4096];
            ssize_t const size = gKernel.mpFgetxattr(model, kAccessList, list, sizeof(list));
            bool const hasList = size >= 0 || errno == ERANGE;
            if (size >= 0 && hasGroup && gKernel.mpFsetxattr(to, kAccessList, list, static_cast<size_t>(size), 0) == 0)
                return;
            if (hasList)
                mode &= S_IRWXU; // the bits of the group are the limit of the list, and not what the group may do
            else if (!hasGroup)
                mode &= ~mode_t{S_IRWXG} | (mode & S_IRWXO) << 3;
            // A folder may give its files a list of its own.
            gKernel.mpFremovexattr(to, kAccessList);
            gKernel.mpFchmod(to, mode);
        }

        /// Opens and empties a plain file that has one name and the owner, the group and the permissions of another.
        Error OpenEquivalent(char const* path, struct stat const& model, FileHandle& handle)
        {
            Error error = Open(path, O_WRONLY | O_NOFOLLOW | O_NONBLOCK, handle);
            if (error != 0)
                return error;
            struct stat status;
            if (gKernel.mpFstat(ToDescriptor(handle), &status) != 0)
                error = errno;
            else if (status.st_mode != model.st_mode || !S_ISREG(status.st_mode) || status.st_nlink != 1 ||
                     status.st_uid != model.st_uid || status.st_gid != model.st_gid)
                error = EACCES;
            else
                error = SetFileSize(handle, 0);
            if (error != 0)
                CloseFile(std::exchange(handle, kNoFile));
            return error;
        }

        Error FinishWrite(ssize_t result, Posix::SizeLimitGuard& guard, std::uint64_t& done)
        {
            done = result < 0 ? 0 : static_cast<std::uint64_t>(result);
            return guard.Finish(result < 0 ? errno : 0);
        }

        Error RefuseDirectory(int descriptor)
        {
            struct stat status;
            if (gKernel.mpFstat(descriptor, &status) != 0)
                return errno;
            return S_ISDIR(status.st_mode) ? EISDIR : 0;
        }
    }

    int ToDescriptor(FileHandle handle)
    {
        return static_cast<int>(handle);
    }

    FileHandle FromDescriptor(int descriptor)
    {
        return descriptor < 0 ? kNoFile : FileHandle{descriptor};
    }

    Error CloseDescriptor(int descriptor)
    {
        return CloseFile(FromDescriptor(descriptor));
    }

    void SetLastError(Error error)
    {
        errno = error;
    }

    Error OpenFile(
        unsigned short const* path, Access access, Creation creation, Sharing /*sharing*/, FileHandle& handle)
    {
        handle = kNoFile;
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        if (access != Access::Read)
            Posix::PrepareForSizeLimit();
        Error error = Open(kernelPath.Get(), ToFlags(access) | ToFlags(creation), handle);
        // The kernel opens a directory for reading; writing it refuses by itself.
        if (error == 0 && access == Access::Read)
        {
            error = RefuseDirectory(ToDescriptor(handle));
            if (error != 0)
                CloseFile(std::exchange(handle, kNoFile));
        }
        return error;
    }

    Error ReplaceFile(unsigned short const* path, FileHandle model, FileHandle& handle)
    {
        handle = kNoFile;
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        struct stat status;
        if (gKernel.mpFstat(ToDescriptor(model), &status) != 0)
            return errno;
        Posix::PrepareForSizeLimit();
        if (gKernel.mpUnlink(kernelPath.Get()) != 0 && errno != ENOENT)
        {
            Error const error = errno;
            bool const isForbidden = error == EACCES || error == EPERM;
            return isForbidden && OpenEquivalent(kernelPath.Get(), status, handle) == 0 ? 0 : error;
        }
        Error const error = Open(kernelPath.Get(), O_WRONLY | O_CREAT | O_EXCL, handle, kOwnerOnly);
        if (error == 0)
            CopyAccess(ToDescriptor(model), status, ToDescriptor(handle));
        return error;
    }

    namespace
    {
        /// Opens a path that leads to what is open under `handle`.
        Error OpenSame(FileHandle handle, unsigned short const* path, Access access, FileHandle& own)
        {
            KernelPath const kernelPath(path);
            FileIdentity expected{};
            FileIdentity found{};
            Error error = kernelPath.GetError();
            if (error == 0)
                error = GetFileIdentity(handle, expected);
            // Asked before, since opening what is no plain file can block for ever, and again afterwards to be certain.
            if (error == 0)
                error = GetFileIdentity(path, found);
            if (error == 0)
                error = found == expected ? Open(kernelPath.Get(), ToFlags(access), own) : ESTALE;
            if (error != 0)
                return error;
            error = GetFileIdentity(own, found);
            if (error == 0 && found != expected)
                error = ESTALE;
            if (error != 0)
                CloseFile(std::exchange(own, kNoFile));
            return error;
        }
    }

    Error OpenAgain(FileHandle handle, unsigned short const* path, Access access, FileHandle& own)
    {
        own = kNoFile;
        std::int64_t position = 0;
        Error error = SeekFile(handle, 0, Origin::Position, position);
        if (error != 0)
            return error;
        // Opening this name makes a new open file of the same file, wherever its path leads now. The name does not
        // exist in a root directory without /proc, and a process that has changed its user may not open it.
        char name[32];
        std::snprintf(name, sizeof(name), "/proc/self/fd/%d", ToDescriptor(handle));
        error = Open(name, ToFlags(access), own);
        if (error != 0)
            error = OpenSame(handle, path, access, own);
        if (error == 0)
        {
            error = SeekFile(own, position, Origin::Start, position);
            if (error != 0)
                CloseFile(std::exchange(own, kNoFile));
        }
        return error;
    }

    Error CloseFile(FileHandle handle)
    {
        NoCancellation const noCancellation;
        Error const error = ToError(gKernel.mpClose(ToDescriptor(handle)));
        // The descriptor is closed even if a signal interrupted the call; a second call could close another file.
        return error == EINTR ? 0 : error;
    }

    Error ReadFile(FileHandle handle, void* buffer, std::uint64_t count, std::uint64_t& done)
    {
        ssize_t const result = RetryOnSignal([&] { return gKernel.mpRead(ToDescriptor(handle), buffer, count); });
        done = result < 0 ? 0 : static_cast<std::uint64_t>(result);
        return result < 0 ? errno : 0;
    }

    Error WriteFile(FileHandle handle, void const* buffer, std::uint64_t count, std::uint64_t& done)
    {
        Posix::SizeLimitGuard guard;
        ssize_t const result = RetryOnSignal([&] { return gKernel.mpWrite(ToDescriptor(handle), buffer, count); });
        return FinishWrite(result, guard, done);
    }

    Error WriteFile(FileHandle handle, std::string_view first, std::string_view second, std::uint64_t& done)
    {
        iovec const pieces[] = {
            {const_cast<char*>(first.data()), first.size()}, {const_cast<char*>(second.data()), second.size()}};
        Posix::SizeLimitGuard guard;
        ssize_t const result = RetryOnSignal([&] { return gKernel.mpWritev(ToDescriptor(handle), pieces, 2); });
        return FinishWrite(result, guard, done);
    }

    void OffloadCopy(FileHandle from, FileHandle to)
    {
        constexpr std::size_t kPieceSize = 1 << 30;
        auto const copyPiece = [&]
        { return gKernel.mpCopyFileRange(ToDescriptor(from), nullptr, ToDescriptor(to), nullptr, kPieceSize, 0); };
        Posix::SizeLimitGuard guard;
        ssize_t result = RetryOnSignal(copyPiece);
        while (result > 0)
            result = RetryOnSignal(copyPiece);
        guard.Finish(result < 0 ? errno : 0);
    }

    Error SeekFile(FileHandle handle, std::int64_t offset, Origin origin, std::int64_t& position)
    {
        int const kernelOrigin = origin == Origin::Start ? SEEK_SET : origin == Origin::End ? SEEK_END : SEEK_CUR;
        off_t const result = gKernel.mpLseek(ToDescriptor(handle), offset, kernelOrigin);
        if (result == -1)
            return errno;
        position = result;
        return 0;
    }

    Error GetFileSize(FileHandle handle, std::int64_t& size)
    {
        struct stat status;
        if (gKernel.mpFstat(ToDescriptor(handle), &status) != 0)
            return errno;
        size = status.st_size;
        return 0;
    }

    Error SetFileSize(FileHandle handle, std::int64_t size)
    {
        Posix::SizeLimitGuard guard;
        return guard.Finish(ToError(RetryOnSignal([&] { return gKernel.mpFtruncate(ToDescriptor(handle), size); })));
    }

    Error FlushFile(FileHandle handle)
    {
        return ToError(RetryOnSignal([&] { return gKernel.mpFdatasync(ToDescriptor(handle)); }));
    }

    Error GetFileIdentity(FileHandle handle, FileIdentity& identity)
    {
        struct stat status;
        if (gKernel.mpFstat(ToDescriptor(handle), &status) != 0)
            return errno;
        identity = {status.st_dev, status.st_ino};
        return 0;
    }

    bool IsPlainFile(FileHandle handle)
    {
        struct stat status;
        return gKernel.mpFstat(ToDescriptor(handle), &status) == 0 && S_ISREG(status.st_mode);
    }

    // Locks of the whole open file. The record locks of fcntl would not do: the classic ones are lost when any
    // descriptor of the file is closed in the process, and those of the open file need the right access mode.

    Error LockFile(FileHandle handle, bool exclusive, LockWait wait)
    {
        int const operation = exclusive ? LOCK_EX : LOCK_SH;
        auto const lock = [&](int waiting)
        { return ToError(RetryOnSignal([&] { return gKernel.mpFlock(ToDescriptor(handle), operation | waiting); })); };
        Error error = lock(LOCK_NB);
        // A thread that sleeps for the lock is woken by its next release, which costs the writer time.
        for (Backoff backoff; wait != LockWait::None && error == EWOULDBLOCK && backoff.Wait();)
            error = lock(LOCK_NB);
        if (error != EWOULDBLOCK)
            return error;
        return wait == LockWait::Endless ? lock(0) : kLockTaken;
    }

    Error UnlockFile(FileHandle handle)
    {
        return ToError(RetryOnSignal([&] { return gKernel.mpFlock(ToDescriptor(handle), LOCK_UN); }));
    }
}
