#pragma once

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include <dirent.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <sys/uio.h>

// The calls to the kernel and the C runtime that files, the debug output and the event log need. They go through one
// table, so that a test can make each of them fail.

namespace QzOs::Posix
{
    /// Every entry is called and returns as the function that it is named after. mpGetrlimit gets the limit of
    /// file sizes.
    struct Kernel
    {
        int (*mpOpen)(char const* path, int flags, mode_t mode);
        int (*mpClose)(int descriptor);
        ssize_t (*mpRead)(int descriptor, void* buffer, size_t count);
        ssize_t (*mpWrite)(int descriptor, void const* buffer, size_t count);
        ssize_t (*mpWritev)(int descriptor, iovec const* pieces, int count);
        /// write, but only of what can be written without blocking (EAGAIN if that is nothing), whether or not the
        /// open file blocks. EOPNOTSUPP where the system cannot do that.
        ssize_t (*mpWriteAtOnce)(int descriptor, void const* buffer, size_t count);
        ssize_t (*mpCopyFileRange)(
            int from, off_t* fromOffset, int to, off_t* toOffset, size_t count, unsigned int flags);
        off_t (*mpLseek)(int descriptor, off_t offset, int origin);
        int (*mpFlock)(int descriptor, int operation);
        int (*mpFtruncate)(int descriptor, off_t size);
        int (*mpFsync)(int descriptor);
        int (*mpFdatasync)(int descriptor);

        int (*mpStatx)(int directory, char const* path, int flags, unsigned int mask, struct statx* status);
        int (*mpStat)(char const* path, struct stat* status);
        int (*mpLstat)(char const* path, struct stat* status);
        int (*mpFstat)(int descriptor, struct stat* status);
        int (*mpStatvfs)(char const* path, struct statvfs* status);
        int (*mpChmod)(char const* path, mode_t mode);
        int (*mpFchmod)(int descriptor, mode_t mode);
        int (*mpFchown)(int descriptor, uid_t user, gid_t group);
        int (*mpFutimens)(int descriptor, timespec const* times);
        ssize_t (*mpFgetxattr)(int descriptor, char const* name, void* value, size_t size);
        int (*mpFsetxattr)(int descriptor, char const* name, void const* value, size_t size, int flags);
        int (*mpFremovexattr)(int descriptor, char const* name);

        int (*mpRename)(char const* from, char const* to);
        int (*mpUnlink)(char const* path);
        int (*mpMkostemp)(char* pathTemplate, int flags);
        int (*mpMkdir)(char const* path, mode_t mode);
        int (*mpRmdir)(char const* path);
        DIR* (*mpFdopendir)(int descriptor);
        dirent* (*mpReaddir)(DIR* listing);
        int (*mpClosedir)(DIR* listing);
        char* (*mpGetcwd)(char* buffer, size_t size);
        int (*mpChdir)(char const* path);

        std::FILE* (*mpFdopen)(int descriptor, char const* mode);
        size_t (*mpFread)(void* buffer, size_t size, size_t count, std::FILE* stream);
        size_t (*mpFwrite)(void const* buffer, size_t size, size_t count, std::FILE* stream);
        char* (*mpFgets)(char* buffer, int size, std::FILE* stream);
        int (*mpFflush)(std::FILE* stream);
        int (*mpFseeko)(std::FILE* stream, off_t offset, int origin);
        off_t (*mpFtello)(std::FILE* stream);
        int (*mpFclose)(std::FILE* stream);

        int (*mpPoll)(pollfd* descriptors, nfds_t count, int milliseconds);

        int (*mpGetrlimit)(rlimit* fileSizes);
        int (*mpSigaction)(int signal, struct sigaction const* action, struct sigaction* old);
        int (*mpSigmask)(int how, sigset_t const* set, sigset_t* old);
        int (*mpSigpending)(sigset_t* set);
        int (*mpSigtimedwait)(sigset_t const* set, siginfo_t* information, timespec const* timeout);
    };

    /// The present table. Constant-initialised. A test that replaces an entry does so while no other thread
    /// uses files.
    extern Kernel gKernel;

    /// Repeats a call as long as a signal interrupts it.
    template <class Call>
    auto RetryOnSignal(Call&& call)
    {
        auto result = call();
        while (result == -1 && errno == EINTR)
            result = call();
        return result;
    }

    /// The error number of a call that returns 0 or -1.
    inline int ToError(int result)
    {
        return result == 0 ? 0 : errno;
    }
}
