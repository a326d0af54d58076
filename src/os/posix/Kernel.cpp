#include "os/posix/Kernel.h"

#include <cstdlib>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace QzOs::Posix
{
    namespace
    {
        // Calls with a type of their own, brought to the table's.
        int Open(char const* path, int flags, mode_t mode)
        {
            return ::open(path, flags, mode);
        }
        ssize_t WriteAtOnce(int descriptor, void const* buffer, size_t count)
        {
            iovec const piece{const_cast<void*>(buffer), count};
            return ::pwritev2(descriptor, &piece, 1, -1, RWF_NOWAIT);
        }
        int Getrlimit(rlimit* fileSizes)
        {
            return ::getrlimit(RLIMIT_FSIZE, fileSizes);
        }
    }

    constinit Kernel gKernel{
        .mpOpen = Open,
        .mpClose = ::close,
        .mpRead = ::read,
        .mpWrite = ::write,
        .mpWritev = ::writev,
        .mpWriteAtOnce = WriteAtOnce,
        .mpCopyFileRange = ::copy_file_range,
        .mpLseek = ::lseek,
        .mpFlock = ::flock,
        .mpFtruncate = ::ftruncate,
        .mpFsync = ::fsync,
        .mpFdatasync = ::fdatasync,

        .mpStatx = ::statx,
        .mpStat = ::stat,
        .mpLstat = ::lstat,
        .mpFstat = ::fstat,
        .mpStatvfs = ::statvfs,
        .mpChmod = ::chmod,
        .mpFchmod = ::fchmod,
        .mpFchown = ::fchown,
        .mpFutimens = ::futimens,
        .mpFgetxattr = ::fgetxattr,
        .mpFsetxattr = ::fsetxattr,
        .mpFremovexattr = ::fremovexattr,

        .mpRename = ::rename,
        .mpUnlink = ::unlink,
        .mpMkostemp = ::mkostemp,
        .mpMkdir = ::mkdir,
        .mpRmdir = ::rmdir,
        .mpFdopendir = ::fdopendir,
        .mpReaddir = ::readdir,
        .mpClosedir = ::closedir,
        .mpGetcwd = ::getcwd,
        .mpChdir = ::chdir,

        .mpFdopen = ::fdopen,
        .mpFread = std::fread,
        .mpFwrite = std::fwrite,
        .mpFgets = std::fgets,
        .mpFflush = std::fflush,
        .mpFseeko = ::fseeko,
        .mpFtello = ::ftello,
        .mpFclose = std::fclose,

        .mpPoll = ::poll,

        .mpGetrlimit = Getrlimit,
        .mpSigaction = ::sigaction,
        .mpSigmask = ::pthread_sigmask,
        .mpSigpending = ::sigpending,
        .mpSigtimedwait = ::sigtimedwait,
    };
}
