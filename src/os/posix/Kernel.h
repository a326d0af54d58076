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

/// All of them: the type of the result, the name of the entry, the function that it is called like and returns like,
/// and the arguments.
/// - Getrlimit gets the limit of file sizes.
/// - WriteAtOnce is write, but only of what can be written without blocking (EAGAIN if that is nothing), whether or not
///   the open file blocks. EOPNOTSUPP where the system cannot do that.
#define QZLOG_KERNEL_CALLS(CALL)                                                                                       \
    CALL(int, Open, Open, char const* path, int flags, mode_t mode)                                                    \
    CALL(int, Close, ::close, int descriptor)                                                                          \
    CALL(ssize_t, Read, ::read, int descriptor, void* buffer, size_t count)                                            \
    CALL(ssize_t, Write, ::write, int descriptor, void const* buffer, size_t count)                                    \
    CALL(ssize_t, Writev, ::writev, int descriptor, iovec const* pieces, int count)                                    \
    CALL(ssize_t, WriteAtOnce, WriteAtOnce, int descriptor, void const* buffer, size_t count)                          \
    CALL(ssize_t, CopyFileRange, ::copy_file_range, int from, off_t* fromOffset, int to, off_t* toOffset,              \
        size_t count, unsigned int flags)                                                                              \
    CALL(off_t, Lseek, ::lseek, int descriptor, off_t offset, int origin)                                              \
    CALL(int, Flock, ::flock, int descriptor, int operation)                                                           \
    CALL(int, Ftruncate, ::ftruncate, int descriptor, off_t size)                                                      \
    CALL(int, Fsync, ::fsync, int descriptor)                                                                          \
    CALL(int, Fdatasync, ::fdatasync, int descriptor)                                                                  \
    CALL(int, Statx, ::statx, int directory, char const* path, int flags, unsigned int mask, struct statx* status)     \
    CALL(int, Stat, ::stat, char const* path, struct stat* status)                                                     \
    CALL(int, Lstat, ::lstat, char const* path, struct stat* status)                                                   \
    CALL(int, Fstat, ::fstat, int descriptor, struct stat* status)                                                     \
    CALL(int, Statvfs, ::statvfs, char const* path, struct statvfs* status)                                            \
    CALL(int, Chmod, ::chmod, char const* path, mode_t mode)                                                           \
    CALL(int, Fchmod, ::fchmod, int descriptor, mode_t mode)                                                           \
    CALL(int, Fchown, ::fchown, int descriptor, uid_t user, gid_t group)                                               \
    CALL(int, Futimens, ::futimens, int descriptor, timespec const* times)                                             \
    CALL(ssize_t, Fgetxattr, ::fgetxattr, int descriptor, char const* name, void* value, size_t size)                  \
    CALL(int, Fsetxattr, ::fsetxattr, int descriptor, char const* name, void const* value, size_t size, int flags)     \
    CALL(int, Fremovexattr, ::fremovexattr, int descriptor, char const* name)                                          \
    CALL(int, Rename, ::rename, char const* from, char const* to)                                                      \
    CALL(int, Renameat2, ::renameat2, int fromDirectory, char const* from, int toDirectory, char const* to,            \
        unsigned int flags)                                                                                            \
    CALL(int, Unlink, ::unlink, char const* path)                                                                      \
    CALL(int, Mkostemp, ::mkostemp, char* pathTemplate, int flags)                                                     \
    CALL(int, Mkdir, ::mkdir, char const* path, mode_t mode)                                                           \
    CALL(int, Rmdir, ::rmdir, char const* path)                                                                        \
    CALL(DIR*, Fdopendir, ::fdopendir, int descriptor)                                                                 \
    CALL(dirent*, Readdir, ::readdir, DIR* listing)                                                                    \
    CALL(int, Closedir, ::closedir, DIR* listing)                                                                      \
    CALL(char*, Getcwd, ::getcwd, char* buffer, size_t size)                                                           \
    CALL(int, Chdir, ::chdir, char const* path)                                                                        \
    CALL(std::FILE*, Fdopen, ::fdopen, int descriptor, char const* mode)                                               \
    CALL(size_t, Fread, std::fread, void* buffer, size_t size, size_t count, std::FILE* stream)                        \
    CALL(size_t, Fwrite, std::fwrite, void const* buffer, size_t size, size_t count, std::FILE* stream)                \
    CALL(char*, Fgets, std::fgets, char* buffer, int size, std::FILE* stream)                                          \
    CALL(int, Fflush, std::fflush, std::FILE* stream)                                                                  \
    CALL(int, Fseeko, ::fseeko, std::FILE* stream, off_t offset, int origin)                                           \
    CALL(off_t, Ftello, ::ftello, std::FILE* stream)                                                                   \
    CALL(int, Fclose, std::fclose, std::FILE* stream)                                                                  \
    CALL(int, Poll, ::poll, pollfd* descriptors, nfds_t count, int milliseconds)                                       \
    CALL(int, Getrlimit, Getrlimit, rlimit* fileSizes)                                                                 \
    CALL(int, Sigaction, ::sigaction, int signal, struct sigaction const* action, struct sigaction* old)               \
    CALL(int, Sigmask, ::pthread_sigmask, int how, sigset_t const* set, sigset_t* old)                                 \
    CALL(int, Sigpending, ::sigpending, sigset_t* set)                                                                 \
    CALL(int, Sigtimedwait, ::sigtimedwait, sigset_t const* set, siginfo_t* information, timespec const* timeout)

namespace QzOs::Posix
{
    /// Every entry is called mp and its name.
    struct Kernel
    {
#define QZLOG_KERNEL_ENTRY(Result, name, function, ...) Result (*mp##name)(__VA_ARGS__);
        QZLOG_KERNEL_CALLS(QZLOG_KERNEL_ENTRY)
#undef QZLOG_KERNEL_ENTRY
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
