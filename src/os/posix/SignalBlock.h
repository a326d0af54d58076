#pragma once

#include <csignal>

namespace QzOs::Posix
{
    /// Keeps what is written in its life from ending the process: SIGPIPE, of a reader that has gone away, and
    /// SIGXFSZ, of a file that may not grow any more, are blocked in the calling thread. The program's own
    /// dispositions of them stay.
    class SignalBlock
    {
    public:
        SignalBlock() noexcept;
        ~SignalBlock();
        SignalBlock(SignalBlock const&) = delete;
        SignalBlock& operator=(SignalBlock const&) = delete;

        /// Takes back what a write has raised. To be called when one has failed; signals that waited before this
        /// object was made stay.
        void Discard() noexcept;

    private:
        bool mIsBlocked;
        sigset_t mOldMask;
        /// Those of the two that are not the program's.
        sigset_t mOurs;
    };
}
