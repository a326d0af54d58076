#include "os/FilesByPath.h"

#include "os/posix/FilesNames.h"
#include "os/posix/Kernel.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace QzOs
{
    using Posix::gKernel;
    using Posix::KernelPath;
    using Posix::ToError;

    namespace
    {
        constexpr mode_t kAnyoneMayWrite = S_IWUSR | S_IWGRP | S_IWOTH;
        constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    }

    FileKind GetFileKind(unsigned short const* path, Links links)
    {
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return FileKind::None;
        struct stat status;
        auto const ask = links == Links::Follow ? gKernel.mpStat : gKernel.mpLstat;
        if (ask(kernelPath.Get(), &status) != 0)
            return FileKind::None;
        return S_ISDIR(status.st_mode) ? FileKind::Directory : FileKind::File;
    }

    Error GetFileInformation(unsigned short const* path, FileInformation& information)
    {
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        struct stat status;
        if (gKernel.mpStat(kernelPath.Get(), &status) != 0)
            return errno;
        information.mSize = static_cast<std::uint64_t>(status.st_size);
        information.mModifiedSeconds = status.st_mtim.tv_sec;
        information.mModifiedNanoseconds = static_cast<int>(status.st_mtim.tv_nsec);
        information.mPermissions = status.st_mode & kPermissions;
        information.mIsWriteable = (status.st_mode & kAnyoneMayWrite) != 0;
        return 0;
    }

    Error SetFilePermissions(unsigned short const* path, unsigned int permissions)
    {
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        return ToError(gKernel.mpChmod(kernelPath.Get(), static_cast<mode_t>(permissions)));
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
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        return ToError(gKernel.mpUnlink(kernelPath.Get()));
    }

    Error CreateUniqueFile(unsigned short const* beginning, QzBase::WideString& path)
    {
        KernelPath const kernelPath(beginning);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        std::string name(kernelPath.Get(), kernelPath.GetLength());
        name += "XXXXXX";
        int const descriptor = Posix::RetryOnSignal([&] { return gKernel.mpMkostemp(name.data(), O_CLOEXEC); });
        if (descriptor == -1)
            return errno;
        CloseFile(FromDescriptor(descriptor));
        path.clear();
        Posix::AppendName(path, name.c_str());
        return 0;
    }

    Error GetDiskSpace(unsigned short const* path, std::uint64_t& freeBytes, std::uint64_t& totalBytes)
    {
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        struct statvfs status;
        if (Posix::RetryOnSignal([&] { return gKernel.mpStatvfs(kernelPath.Get(), &status); }) != 0)
            return errno;
        freeBytes = std::uint64_t{status.f_bavail} * status.f_frsize;
        totalBytes = std::uint64_t{status.f_blocks} * status.f_frsize;
        return 0;
    }
}
