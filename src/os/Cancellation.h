#pragma once

namespace QzOs
{
    /// Keeps the calling thread from being cancelled for its life. A request that arrives meanwhile takes effect
    /// at the thread's next cancellation point after that.
    class NoCancellation
    {
    public:
        NoCancellation() noexcept;
        ~NoCancellation();
        NoCancellation(NoCancellation const&) = delete;
        NoCancellation& operator=(NoCancellation const&) = delete;

    private:
        int mPreviousState = 0;
    };
}
