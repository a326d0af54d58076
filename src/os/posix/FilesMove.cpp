#include "os/FilesByPath.h"

#include "os/posix/FilesSizeLimit.h"
#include "os/posix/Kernel.h"
#include "os/posix/KernelPath.h"
#include "os/posix/StandardDescriptors.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>

namespace QzOs
{
    using Posix::gKernel;
    using Posix::OpenAboveStandard;
    using Posix::RetryOnSignal;
    using Posix::ToError;

    namespace
    {
        constexpr std::size_t kCopyBufferSize = 262144;

        /// The directory of a path, with its closing separator; empty for a bare name.
        std::string_view GetDirectoryPart(std::string_view path)
        {
            return path.substr(0, path.rfind('/') + 1);
        }

        std::string ToDirectory(std::string_view path)
        {
            std::string_view const directory = GetDirectoryPart(path);
            return directory.empty() ? std::string(".") : std::string(directory);
        }

        bool IsSameFile(struct stat const& a, struct stat const& b)
        {
            return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
        }

        /// Whether two paths of one file are one entry of one directory, spelt in two ways perhaps.
        bool IsSameEntry(struct stat const& file, std::string_view from, std::string_view to)
        {
            if (file.st_nlink < 2)
                return true;
            std::string_view const fromName = from.substr(GetDirectoryPart(from).size());
            std::string_view const toName = to.substr(GetDirectoryPart(to).size());
            if (fromName != toName)
                return false;
            struct stat fromDirectory;
            struct stat toDirectory;
            return gKernel.mpStat(ToDirectory(from).c_str(), &fromDirectory) == 0 &&
                   gKernel.mpStat(ToDirectory(to).c_str(), &toDirectory) == 0 && IsSameFile(fromDirectory, toDirectory);
        }

        /// A descriptor for as long as a function runs.
        class OpenDescriptor
        {
        public:
            explicit OpenDescriptor(int descriptor) : mDescriptor(descriptor) {}
            ~OpenDescriptor() { Close(); }
            OpenDescriptor(OpenDescriptor const&) = delete;
            OpenDescriptor& operator=(OpenDescriptor const&) = delete;

            int Get() const { return mDescriptor; }

            Error Close()
            {
                if (mDescriptor == -1)
                    return 0;
                return CloseFile(FromDescriptor(std::exchange(mDescriptor, -1)));
            }

        private:
            int mDescriptor;
        };

        Error WriteAll(int descriptor, char const* data, std::size_t count)
        {
            while (count != 0)
            {
                std::uint64_t written = 0;
                Error const error = WriteFile(FromDescriptor(descriptor), data, count, written);
                if (error != 0 || written == 0)
                    return error != 0 ? error : kErrorNoSpace;
                data += written;
                count -= written;
            }
            return 0;
        }

        /// The file that is read goes when this has succeeded, so an end before `size` bytes is a failure.
        Error CopyContent(int from, off_t size, int to)
        {
            std::vector<char> buffer(kCopyBufferSize);
            for (std::int64_t rest = size;;)
            {
                std::uint64_t read = 0;
                Error error = ReadFile(FromDescriptor(from), buffer.data(), buffer.size(), read);
                if (error != 0)
                    return error;
                if (read == 0)
                    return rest > 0 ? EIO : 0;
                rest -= static_cast<std::int64_t>(read);
                error = WriteAll(to, buffer.data(), read);
                if (error != 0)
                    return error;
            }
        }

        /// Owner (as far as the process may), permissions and times.
        Error CopyAttributes(struct stat const& status, int to)
        {
            if (gKernel.mpFchown(to, status.st_uid, status.st_gid) != 0 && errno != EPERM)
                return errno;
            if (gKernel.mpFchmod(to, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) != 0)
                return errno;
            timespec const times[2] = {status.st_atim, status.st_mtim};
            return ToError(gKernel.mpFutimens(to, times));
        }

        Error CopyToDisk(char const* from, struct stat const& status, int to)
        {
            OpenDescriptor const source(
                OpenAboveStandard([&] { return gKernel.mpOpen(from, O_RDONLY | O_CLOEXEC, 0); }));
            if (source.Get() == -1)
                return errno;
            Error error = CopyContent(source.Get(), status.st_size, to);
            if (error == 0)
                error = CopyAttributes(status, to);
            if (error == 0)
                error = ToError(RetryOnSignal([&] { return gKernel.mpFsync(to); }));
            return error;
        }

        Error SyncDirectory(std::string const& directory)
        {
            OpenDescriptor const opened(OpenAboveStandard(
                [&] { return gKernel.mpOpen(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); }));
            if (opened.Get() == -1)
                return errno;
            Error const error = ToError(RetryOnSignal([&] { return gKernel.mpFsync(opened.Get()); }));
            // Some file systems have nothing to sync in a directory.
            return error == EINVAL ? 0 : error;
        }

        /// The copy gets a temporary name beside its target: a target that stands there is replaced in one
        /// step, by a whole file. The old name goes last, when the new one is on the disk too.
        Error MoveAcross(char const* from, struct stat const& status, char const* to)
        {
            if (!S_ISREG(status.st_mode))
                return EXDEV;
            std::string name(GetDirectoryPart(to));
            name += ".move-XXXXXX";
            Posix::PrepareForSizeLimit();
            OpenDescriptor copy(OpenAboveStandard([&] { return gKernel.mpMkostemp(name.data(), O_CLOEXEC); }));
            if (copy.Get() == -1)
                return errno;
            Error error = CopyToDisk(from, status, copy.Get());
            Error const closeError = copy.Close();
            if (error == 0)
                error = closeError;
            if (error == 0)
                error = ToError(gKernel.mpRename(name.c_str(), to));
            if (error != 0)
            {
                gKernel.mpUnlink(name.c_str());
                return error;
            }
            error = SyncDirectory(ToDirectory(to));
            return error == 0 ? ToError(gKernel.mpUnlink(from)) : error;
        }
    }

    Error MoveFile(unsigned short const* from, unsigned short const* to)
    {
        Posix::KernelPath const source(from);
        Posix::KernelPath const target(to);
        if (Error const error = source.GetError() != 0 ? source.GetError() : target.GetError(); error != 0)
            return error;
        struct stat sourceStatus;
        if (gKernel.mpLstat(source.Get(), &sourceStatus) != 0)
            return errno;
        struct stat targetStatus;
        if (gKernel.mpLstat(target.Get(), &targetStatus) == 0)
        {
            if (S_ISDIR(targetStatus.st_mode))
                return EISDIR;
            // A rename between two names of one file would succeed and leave both.
            if (IsSameFile(sourceStatus, targetStatus))
            {
                if (IsSameEntry(sourceStatus, source.Get(), target.Get()))
                    return 0;
                return ToError(gKernel.mpUnlink(source.Get()));
            }
        }
        else if (errno != ENOENT)
        {
            return errno;
        }
        if (gKernel.mpRename(source.Get(), target.Get()) == 0)
            return 0;
        return errno == EXDEV ? MoveAcross(source.Get(), sourceStatus, target.Get()) : errno;
    }

    Error MoveFileToFreeName(unsigned short const* from, unsigned short const* to)
    {
        Posix::KernelPath const source(from);
        Posix::KernelPath const target(to);
        if (Error const error = source.GetError() != 0 ? source.GetError() : target.GetError(); error != 0)
            return error;
        if (gKernel.mpRenameat2(AT_FDCWD, source.Get(), AT_FDCWD, target.Get(), RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EINVAL && errno != ENOSYS)
            return errno;
        struct stat found;
        if (gKernel.mpLstat(target.Get(), &found) == 0)
            return kErrorExists;
        return errno == ENOENT ? ToError(gKernel.mpRename(source.Get(), target.Get())) : errno;
    }
}
