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
#define QZLOG_KERNEL_ENTRY(Result, name, function, ...) .mp##name = (function),
        QZLOG_KERNEL_CALLS(QZLOG_KERNEL_ENTRY)
#undef QZLOG_KERNEL_ENTRY
    };
}
