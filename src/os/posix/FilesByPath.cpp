#include "os/FilesByPath.h"

#include "os/posix/Kernel.h"
#include "os/posix/KernelPath.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace QzOs
{
    using Posix::CallOnPath;
    using Posix::gKernel;
    using Posix::KernelPath;

    namespace
    {
        constexpr mode_t kAnyoneMayWrite = S_IWUSR | S_IWGRP | S_IWOTH;
        constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

        /// Asks for what the mask names (STATX_...).
        Error Query(unsigned short const* path, Links links, unsigned int mask, struct statx& status)
        {
            // Like stat, which mounts nothing that it finds waiting for it.
            int const flags = AT_NO_AUTOMOUNT | (links == Links::Follow ? 0 : AT_SYMLINK_NOFOLLOW);
            return CallOnPath(path,
                [&](char const* kernelPath) { return gKernel.mpStatx(AT_FDCWD, kernelPath, flags, mask, &status); });
        }

        FileKind ToKind(struct statx const& status)
        {
            return S_ISDIR(status.stx_mode) ? FileKind::Directory : FileKind::File;
        }

        /// Equal to what fstat reports of the open file.
        FileIdentity ToIdentity(struct statx const& status)
        {
            return {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
        }
    }

    FileKind GetFileKind(unsigned short const* path, Links links)
    {
        struct statx status;
        return Query(path, links, STATX_TYPE, status) == 0 ? ToKind(status) : FileKind::None;
    }

    Error FindFile(unsigned short const* path, FileKind& kind, FileIdentity& identity)
    {
        kind = FileKind::None;
        struct statx status;
        Error const error = Query(path, Links::Follow, STATX_TYPE | STATX_INO, status);
        if (error == ENOENT || error == ENOTDIR || error == ELOOP)
            return 0;
        if (error != 0)
            return error;
        kind = ToKind(status);
        identity = ToIdentity(status);
        return 0;
    }

    Error GetFileIdentity(unsigned short const* path, FileIdentity& identity)
    {
        struct statx status;
        Error const error = Query(path, Links::Follow, STATX_INO, status);
        if (error == 0)
            identity = ToIdentity(status);
        return error;
    }

    bool IsSpecialFile(unsigned short const* path)
    {
        struct statx status;
        return Query(path, Links::Follow, STATX_TYPE, status) == 0 && !S_ISREG(status.stx_mode) &&
               !S_ISDIR(status.stx_mode);
    }

    Error GetFileInformation(unsigned short const* path, FileInformation& information)
    {
        struct stat status;
        Error const error =
            CallOnPath(path, [&status](char const* kernelPath) { return gKernel.mpStat(kernelPath, &status); });
        if (error != 0)
            return error;
        information.mSize = static_cast<std::uint64_t>(status.st_size);
        information.mModifiedSeconds = status.st_mtim.tv_sec;
        information.mModifiedNanoseconds = static_cast<int>(status.st_mtim.tv_nsec);
        information.mPermissions = status.st_mode & kPermissionBits;
        information.mIsWriteable = (status.st_mode & kAnyoneMayWrite) != 0;
        return 0;
    }

    Error SetFilePermissions(unsigned short const* path, unsigned int permissions)
    {
        auto const mode = static_cast<mode_t>(permissions);
        return CallOnPath(path, [mode](char const* kernelPath) { return gKernel.mpChmod(kernelPath, mode); });
    }

    Error MoveForDeletion(unsigned short const* path, unsigned short const* to)
    {
        KernelPath const from(path);
        KernelPath const target(to);
        if (Error const error = from.GetError() != 0 ? from.GetError() : target.GetError(); error != 0)
            return error;
        struct stat status;
        if (gKernel.mpLstat(from.Get(), &status) != 0)
            return errno;
        if (S_ISDIR(status.st_mode))
            return EISDIR;
        // The directory for temporary files lets nobody but the owner delete a file, so another's would stay
        // there for good.
        uid_t const user = geteuid();
        if (user != 0 && user != status.st_uid)
            return kDeletedInPlaceOnly;
        if (gKernel.mpRename(from.Get(), target.Get()) == 0)
            return 0;
        return errno == EXDEV ? kDeletedInPlaceOnly : errno;
    }

    Error DeleteFile(unsigned short const* path)
    {
        return CallOnPath(path, gKernel.mpUnlink);
    }

    Error CreateUniqueFile(unsigned short const* beginning, PathText& path)
    {
        KernelPath const kernelPath(beginning);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        std::string name(kernelPath.Get(), kernelPath.GetLength());
        name += "XXXXXX";
        int const descriptor = Posix::OpenAboveStandard([&] { return gKernel.mpMkostemp(name.data(), O_CLOEXEC); });
        if (descriptor == -1)
            return errno;
        CloseFile(FromDescriptor(descriptor));
        path.clear();
        Posix::AppendName(path, name.c_str());
        return 0;
    }

    Error GetDiskSpace(unsigned short const* path, std::uint64_t& freeBytes, std::uint64_t& totalBytes)
    {
        struct statvfs status;
        Error const error = CallOnPath(path, [&status](char const* kernelPath)
            { return Posix::RetryOnSignal([&] { return gKernel.mpStatvfs(kernelPath, &status); }); });
        if (error != 0)
            return error;
        freeBytes = std::uint64_t{status.f_bavail} * status.f_frsize;
        totalBytes = std::uint64_t{status.f_blocks} * status.f_frsize;
        return 0;
    }
}
