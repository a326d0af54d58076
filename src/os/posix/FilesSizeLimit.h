#pragma once

#include "os/Files.h"
#include "os/posix/SignalBlock.h"

#include <optional>

// A write that begins at or beyond the process's limit of file sizes raises SIGXFSZ, which by default ends the
// process. For a log that has grown too large, that write must be an error and nothing else.
//
// Asking for the limit, or blocking the signal, at every write would cost one or two calls more per record.
// Instead, each time a file is opened for writing:
// - If there is a limit, writes block the signal in their thread and discard those that they caused.
// - If there is none, a limit can only come later. For that the signal's default action is replaced by a
//   handler that ignores the signal during a write of ours, and at any other time does what the default does:
//   the process's own writes still end it. A disposition that the host program has set is left alone, and
//   programs that are executed from here get their default back.
//
// Not covered, until the next file is opened: a host program that restores the default action while a log is
// open, and then sets a limit below that log's size. The next write ends the process.

namespace QzOs::Posix
{
    /// Call it when a file is opened for writing.
    void PrepareForSizeLimit();

    /// Surrounds everything that may write to a file. Guards of one thread are not nested. Costs no system call where
    /// there is no limit.
    class SizeLimitGuard
    {
    public:
        SizeLimitGuard();
        ~SizeLimitGuard();
        SizeLimitGuard(SizeLimitGuard const&) = delete;
        SizeLimitGuard& operator=(SizeLimitGuard const&) = delete;

        /// Takes the result of the write, before the guard is destroyed, and returns it.
        Error Finish(Error error);

    private:
        /// Where there is a limit.
        std::optional<SignalBlock> mBlock;
    };
}
