#pragma once

#include <QzSynch/Locks.h>

#include <optional>

namespace QzSynch
{
    /// Holds a lock whenever the process forks: the child neither inherits it from a thread that exists in the parent
    /// only, nor finds what it guards in the middle of a change. The fork waits for whoever is inside.
    ///
    /// For locks under which nothing forks and no other lock is taken. The lock outlives this object.
    class ForkHold
    {
    public:
        /// Held for writing.
        explicit ForkHold(RWLock& lock);
        explicit ForkHold(CriticalSection& lock);
        ~ForkHold();
        ForkHold(ForkHold const&) = delete;
        ForkHold& operator=(ForkHold const&) = delete;

    private:
        static void BeforeFork();
        static void GiveAllBack(void (*leave)(RWLock&));
        static void AfterForkInParent();
        static void AfterForkInChild();

        void Enlist();
        void Take();
        void GiveBack(void (*leave)(RWLock&));

        // One of the two is null.
        RWLock* const mpRWLock;
        CriticalSection* const mpCriticalSection;
        std::optional<CriticalSection::SmartLock> mHold;
        ForkHold* mpNext = nullptr;
        ForkHold* mpPrevious = nullptr;
    };
}
