#pragma once

#include "os/Files.h"
#include "os/posix/SignalBlock.h"

#include <optional>

// A write that begins at or beyond the process's limit of file sizes raises SIGXFSZ, whose default ends the
// process. A log that has grown too large must be an error of that write and nothing else.
//
// Asking for the limit, or blocking the signal, at every write would cost one or two calls more per record.
// Instead, each time a file is opened for writing:
// - If there is a limit, writes block the signal in their thread and take back what they caused.
// - If there is none, a limit can only come later. For that the signal's default action is replaced by a
//   handler that ignores the signal during a write of ours, and at any other time does what the default does:
//   the process's own writes end it as ever. A disposition that the host program has set is left alone, and
//   exec gives programs that are started from here their default back.
//
// What remains is a host program that sets the default action anew while a log is open, and then a limit below
// that log's size: this ends it, until the next file is opened.

namespace QzOs::Posix
{
    /// To be called when a file is opened for writing.
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

        /// Tells how the write ended, before the guard does. Gives the error back.
        Error Finish(Error error);

    private:
        /// Where there is a limit.
        std::optional<SignalBlock> mBlock;
    };
}
