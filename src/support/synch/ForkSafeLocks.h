#pragma once

#include "support/synch/ForkHold.h"

#include <QzSynch/Locks.h>

// Locks that are held whenever the process forks, as long as they exist; see ForkHold for what must not happen under
// them. All readers-writer locks and critical sections of this library are created here.

namespace QzSynch
{
    enum class Readers
    {
        kFrequent,
        /// Such as seldom come with a message: the lock is 600 bytes smaller, and its readers write to one counter.
        kRare
    };

    /// As CreateRWLock. Held for writing around a fork.
    RWLock* CreateForkSafeRWLock(EnumHvnLockStackCategory category, Readers readers = Readers::kFrequent);

    /// As CreateCriticalSection.
    /// \param client  may be null; outlives the lock. Create the lock only when the client can be called.
    CriticalSection* CreateForkSafeSection(EnumHvnLockStackCategory category,
        ForkHold::Rank rank = ForkHold::kInnermost, ForkHold::Client* client = nullptr);

    /// ConvoyFreeMutex::IsTriedFor of a critical section of this library.
    bool IsTriedFor(CriticalSection const& section) noexcept;
}
