#pragma once

#include <cerrno>

namespace QzLog
{
    /// Gives errno back as it was, on every way out: a program logs between a failed call and its look at errno.
    class ErrnoGuard
    {
    public:
        ErrnoGuard() noexcept : mErrno(errno) {}
        ~ErrnoGuard() { errno = mErrno; }
        ErrnoGuard(ErrnoGuard const&) = delete;
        ErrnoGuard& operator=(ErrnoGuard const&) = delete;

    private:
        int const mErrno;
    };
}
