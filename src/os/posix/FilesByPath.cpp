#include "os/FilesByPath.h"

#include "os/posix/Kernel.h"
#include "os/posix/KernelPath.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace QzOs
{
    using Posix::CallOnPath;
    using Posix::gKernel;
    using Posix::KernelPath;

    namespace
    {
        constexpr mode_t kAnyoneMayWrite = S_IWUSR | S_IWGRP | S_IWOTH;
        constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

        Error GetStatus(unsigned short const* path, Links links, struct stat& status)
        {
            auto const ask = links == Links::Follow ? gKernel.mpStat : gKernel.mpLstat;
            return CallOnPath(path, [&](char const* kernelPath) { return ask(kernelPath, &status); });
        }
    }

    FileKind GetFileKind(unsigned short const* path, Links links)
    {
        struct stat status;
        if (GetStatus(path, links, status) != 0)
            return FileKind::None;
        return S_ISDIR(status.st_mode) ? FileKind::Directory : FileKind::File;
    }

    Error GetFileIdentity(unsigned short const* path, FileIdentity& identity)
    {
        struct stat status;
        Error const error = GetStatus(path, Links::Follow, status);
        if (error == 0)
            identity = {status.st_dev, status.st_ino};
        return error;
    }

    Error GetFileInformation(unsigned short const* path, FileInformation& information)
    {
        struct stat status;
        Error const error = GetStatus(path, Links::Follow, status);
        if (error != 0)
            return error;
        information.mSize = static_cast<std::uint64_t>(status.st_size);
        information.mModifiedSeconds = status.st_mtim.tv_sec;
        information.mModifiedNanoseconds = static_cast<int>(status.st_mtim.tv_nsec);
        information.mPermissions = status.st_mode & kPermissions;
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

    Error CreateUniqueFile(unsigned short const* beginning, QzBase::WideString& path)
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
