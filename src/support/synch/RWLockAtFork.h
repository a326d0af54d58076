#pragma once

#include <QzSynch/Locks.h>

// A readers-writer lock around a fork; see ForkHold. The lock is one of CreateRWLock's.

namespace QzSynch
{
    /// Takes the lock for writing, and what it consists of inside as well.
    void EnterBeforeFork(RWLock& lock);

    void LeaveAfterForkInParent(RWLock& lock);

    /// Forgets the threads that were waiting for the lock.
    void LeaveAfterForkInChild(RWLock& lock);
}
