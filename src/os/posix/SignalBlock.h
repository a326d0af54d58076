#pragma once

#include <csignal>
#include <initializer_list>

// What is written can raise a signal whose default ends the process: SIGPIPE, of a reader that has gone away, and
// SIGXFSZ, of a file that may not grow any more. The program's own dispositions of them stay.

namespace QzOs::Posix
{
    sigset_t MakeSignalSet(std::initializer_list<int> signals) noexcept;

    /// Discards those of these signals that are pending in the calling thread, which blocks them.
    void DiscardSignals(sigset_t const& signals) noexcept;

    /// Blocks signals in the calling thread for its life.
    class SignalBlock
    {
    public:
        explicit SignalBlock(std::initializer_list<int> signals) noexcept;
        ~SignalBlock();
        SignalBlock(SignalBlock const&) = delete;
        SignalBlock& operator=(SignalBlock const&) = delete;

        /// Discards what a write has raised. Call it when one has failed. Signals that were pending before this
        /// object was constructed stay pending.
        void Discard() noexcept;

    private:
        bool mIsBlocked;
        sigset_t mOldMask;
        /// Those that were not pending before.
        sigset_t mOurs;
    };
}
