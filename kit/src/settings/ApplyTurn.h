#pragma once

namespace QzLogKit
{
    /// While it lives, the calling thread is the one that puts settings in force. Code of the core and of the user runs
    /// meanwhile, so a fork does not wait for it, as it would for a ForkSafeLock. If another thread has the turn when
    /// the process forks, that thread is not in the child, where the turn is free. No log call waits for it.
    class ApplyTurn
    {
    public:
        /// Throws QzBase::Message if the thread has the turn already, since it would wait for itself.
        ApplyTurn();
        ~ApplyTurn();
        ApplyTurn(ApplyTurn const&) = delete;
        ApplyTurn& operator=(ApplyTurn const&) = delete;
    };
}
