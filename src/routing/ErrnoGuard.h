#pragma once

#include <cerrno>

namespace QzLog
{
    /// Restores errno on every way out: a program may log between a failed call and its use of errno.
    class ErrnoGuard
    {
    public:
        ErrnoGuard() noexcept : mErrno(errno), mKept(mErrno) {}
        ~ErrnoGuard() { mErrno = mKept; }
        ErrnoGuard(ErrnoGuard const&) = delete;
        ErrnoGuard& operator=(ErrnoGuard const&) = delete;

    private:
        int& mErrno; // the thread's, which the system is asked for once
        int const mKept;
    };
}
