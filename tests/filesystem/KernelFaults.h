#pragma once

#include "os/posix/Kernel.h"

#include <fcntl.h>
#include <sys/file.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <type_traits>

namespace QzTest
{
    /// Counts the calls of one entry of the table, and makes one of them fail with an error number, after
    /// `skip` others. One for each entry at a time.
    template <auto entry>
    class Watch
    {
    public:
        explicit Watch(int error = 0, int skip = 0)
        {
            gReal = QzOs::Posix::gKernel.*entry;
            gError = error;
            gSkip = skip;
            gCount = 0;
            QzOs::Posix::gKernel.*entry = MakeWatching(gReal);
        }

        ~Watch() { QzOs::Posix::gKernel.*entry = gReal; }
        Watch(Watch const&) = delete;
        Watch& operator=(Watch const&) = delete;

        static int GetCount() { return gCount; }
        static std::shared_ptr<void> Make(int error, int skip) { return std::make_shared<Watch>(error, skip); }

    private:
        using Entry = std::remove_reference_t<decltype(QzOs::Posix::gKernel.*entry)>;

        using Closing = std::integral_constant<decltype(&QzOs::Posix::Kernel::mpClose), &QzOs::Posix::Kernel::mpClose>;

        template <class Result, class... Arguments>
        static Entry MakeWatching(Result (*)(Arguments...))
        {
            return [](Arguments... arguments) -> Result
            {
                if (gCount++ != gSkip || gError == 0)
                    return gReal(arguments...);
                // What closes something has done so also when it fails.
                if constexpr (std::is_same_v<std::integral_constant<decltype(entry), entry>, Closing>)
                    gReal(arguments...);
                errno = gError;
                if constexpr (std::is_pointer_v<Result>)
                    return nullptr;
                else
                    return static_cast<Result>(-1);
            };
        }

        static inline Entry gReal = nullptr;
        static inline int gError = 0;
        static inline int gSkip = 0;
        static inline int gCount = 0;
    };

    /// Opens as in a root directory without /proc.
    inline int OpenWithoutProc(char const* path, int flags, mode_t mode)
    {
        if (std::strncmp(path, "/proc/", 6) != 0)
            return open(path, flags, mode);
        errno = ENOENT;
        return -1;
    }

    /// Tells when a thread is about to wait for the lock on a file until it gets it. One at a time.
    class LockWatch
    {
    public:
        LockWatch()
        {
            gIsAwaited = false;
            QzOs::Posix::gKernel.mpFlock = [](int file, int operation)
            {
                gIsAwaited = gIsAwaited || operation == LOCK_EX;
                gIsAwaited.notify_all();
                return flock(file, operation);
            };
        }

        ~LockWatch() { QzOs::Posix::gKernel.mpFlock = flock; }
        LockWatch(LockWatch const&) = delete;
        LockWatch& operator=(LockWatch const&) = delete;

        static void Await() { gIsAwaited.wait(false); }

    private:
        static inline std::atomic<bool> gIsAwaited;
    };
}
