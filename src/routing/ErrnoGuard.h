#pragma once

#include <cerrno>

namespace QzLog
{
    /// Restores errno on every way out: a program may log between a failed call and its use of errno.
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
