#include "support/synch/ForkHold.h"

#include "os/Fork.h"
#include "support/synch/RWLockAtFork.h"

#include <mutex>
#include <utility>

namespace QzSynch
{
    namespace
    {
        // Guards the list; taken before the locks of its members, and held while the process forks. Neither has a
        // destructor, since the process may fork to its very end.
        constinit QzOs::ForkMutex gListLock;
        constinit ForkHold* gpFirst = nullptr;
    }

    ForkHold::ForkHold(RWLock& lock) : mpRWLock(&lock), mpCriticalSection(nullptr), mRank(kInnermost), mpClient(nullptr)
    {
        Enlist();
    }

    ForkHold::ForkHold(CriticalSection& lock, Rank rank, Client* client)
        : mpRWLock(nullptr), mpCriticalSection(&lock), mRank(rank), mpClient(client)
    {
        Enlist();
    }

    ForkHold::~ForkHold()
    {
        std::lock_guard const hold(gListLock);
        if (mpNext)
            mpNext->mpPrevious = mpPrevious;
        (mpPrevious ? mpPrevious->mpNext : gpFirst) = mpNext;
        GiveBack(LeaveAfterForkInParent);
    }

    void ForkHold::Enlist()
    {
        [[maybe_unused]] static bool const watched =
            QzOs::CallAroundFork(BeforeFork, AfterForkInParent, AfterForkInChild);
        std::lock_guard const hold(gListLock);
        ForkHold** link = &gpFirst;
        for (; *link && (*link)->mRank < mRank; link = &(*link)->mpNext)
            mpPrevious = *link;
        mpNext = *link;
        if (mpNext)
            mpNext->mpPrevious = this;
        *link = this;
    }

    void ForkHold::Take()
    {
        if (mpRWLock)
            EnterBeforeFork(*mpRWLock);
        else
            mHold.emplace(*mpCriticalSection);
        mIsTaken = true;
    }

    void ForkHold::GiveBack(void (*leave)(RWLock&))
    {
        // One that was made amid the fork has not been taken.
        if (!std::exchange(mIsTaken, false))
            return;
        if (mpRWLock)
            leave(*mpRWLock);
        mHold.reset();
    }

    void ForkHold::BeforeFork()
    {
        gListLock.LockBeforeFork();
        for (ForkHold* hold = gpFirst; hold; hold = hold->mpNext)
            hold->Take();
    }

    ForkHold* ForkHold::GetLast()
    {
        ForkHold* hold = gpFirst;
        while (hold && hold->mpNext)
            hold = hold->mpNext;
        return hold;
    }

    // The one that was taken last goes first: giving a lock back takes what it consists of once more.
    void ForkHold::GiveAllBack(void (*leave)(RWLock&))
    {
        for (ForkHold* hold = GetLast(); hold; hold = hold->mpPrevious)
            hold->GiveBack(leave);
        gListLock.UnlockAfterFork();
    }

    void ForkHold::AfterForkInParent()
    {
        GiveAllBack(LeaveAfterForkInParent);
    }

    void ForkHold::AfterForkInChild()
    {
        for (ForkHold* hold = GetLast(); hold; hold = hold->mpPrevious)
            if (hold->mpClient)
                hold->mpClient->GoOnInForkedChild();
        GiveAllBack(LeaveAfterForkInChild);
    }
}
