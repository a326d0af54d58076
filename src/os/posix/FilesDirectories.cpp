#include "os/FilesDirectories.h"

#include "os/Cancellation.h"
#include "os/posix/Kernel.h"
#include "os/posix/KernelPath.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>

namespace QzOs
{
    using Posix::CallOnPath;
    using Posix::gKernel;
    using Posix::KernelPath;

    Error CreateDirectory(unsigned short const* path)
    {
        return CallOnPath(
            path, [](char const* kernelPath) { return gKernel.mpMkdir(kernelPath, S_IRWXU | S_IRWXG | S_IRWXO); });
    }

    Error RemoveDirectory(unsigned short const* path)
    {
        return CallOnPath(path, gKernel.mpRmdir);
    }

    Error GetCurrentDirectory(PathText& path)
    {
        std::string buffer(PATH_MAX, '\0');
        while (!gKernel.mpGetcwd(buffer.data(), buffer.size()))
        {
            if (errno != ERANGE)
                return errno;
            buffer.resize(buffer.size() * 2);
        }
        path.clear();
        Posix::AppendName(path, buffer.c_str());
        return 0;
    }

    Error SetCurrentDirectory(unsigned short const* path)
    {
        return CallOnPath(path, gKernel.mpChdir);
    }

    PathText GetTemporaryDirectory()
    {
        char const* directory = secure_getenv("TMPDIR");
        if (!directory || !*directory)
            directory = "/tmp";
        PathText path;
        Posix::AppendName(path, directory);
        if (path.back() != '/')
            path.push_back('/');
        return path;
    }

    DirectoryListing::~DirectoryListing()
    {
        NoCancellation const noCancellation;
        if (mpListing)
            gKernel.mpClosedir(static_cast<DIR*>(mpListing));
    }

    Error DirectoryListing::Open(unsigned short const* path, Links links)
    {
        KernelPath const kernelPath(path);
        if (kernelPath.GetError() != 0)
            return kernelPath.GetError();
        int const flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (links == Links::Keep ? O_NOFOLLOW : 0);
        int const descriptor = Posix::OpenAboveStandard([&] { return gKernel.mpOpen(kernelPath.Get(), flags, 0); });
        if (descriptor == -1)
            return errno;
        mpListing = gKernel.mpFdopendir(descriptor);
        if (mpListing)
            return 0;
        Error const error = errno;
        CloseFile(FromDescriptor(descriptor));
        return error;
    }

    Error DirectoryListing::Read(PathText& name)
    {
        for (;;)
        {
            errno = 0;
            dirent const* const entry = gKernel.mpReaddir(static_cast<DIR*>(mpListing));
            if (!entry)
                return errno == 0 ? kNoMoreFiles : errno;
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
                continue;
            name.clear();
            Posix::AppendName(name, entry->d_name);
            return 0;
        }
    }
}
