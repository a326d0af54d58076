#include "support/synch/ForkHold.h"

#include "os/Fork.h"

#include <mutex>
#include <utility>

namespace QzSynch
{
    namespace
    {
        // Guards the list; taken before the locks of its members, and held while the process forks. Neither has a
        // destructor, since the process may fork until it ends.
        constinit QzOs::ForkMutex gListLock;
        constinit ForkHold* gpFirst = nullptr;
    }

    // When the library is loaded, so that no fork happens during the creation of the first lock; and after those that
    // are registered by constructors with a priority, whose locks are taken under these.
    bool const ForkHold::gIsWatched = QzOs::CallAroundFork(BeforeFork, AfterForkInParent, AfterForkInChild);

    ForkHold::ForkHold(Lock& lock, Rank rank, Client* client) : mLock(lock), mRank(rank), mpClient(client)
    {
        std::lock_guard const hold(gListLock);
        ForkHold** link = &gpFirst;
        for (; *link && (*link)->mRank < mRank; link = &(*link)->mpNext)
            mpPrevious = *link;
        mpNext = *link;
        if (mpNext)
            mpNext->mpPrevious = this;
        *link = this;
    }

    ForkHold::~ForkHold()
    {
        std::lock_guard const hold(gListLock);
        if (mpNext)
            mpNext->mpPrevious = mpPrevious;
        (mpPrevious ? mpPrevious->mpNext : gpFirst) = mpNext;
        GiveBack(&Lock::LeaveAfterForkInParent);
    }

    void ForkHold::GiveBack(void (Lock::*leave)())
    {
        // One that was created during the fork has not been taken.
        if (std::exchange(mIsTaken, false))
            (mLock.*leave)();
    }

    void ForkHold::BeforeFork()
    {
        gListLock.LockBeforeFork();
        for (ForkHold* hold = gpFirst; hold; hold = hold->mpNext)
        {
            hold->mLock.EnterBeforeFork();
            hold->mIsTaken = true;
            if (hold->mpClient)
                hold->mpClient->PrepareForFork();
        }
    }

    ForkHold* ForkHold::GetLast()
    {
        ForkHold* hold = gpFirst;
        while (hold && hold->mpNext)
            hold = hold->mpNext;
        return hold;
    }

    // The one that was taken last is released first: releasing a lock takes its inner locks once more.
    void ForkHold::GiveAllBack(void (Lock::*leave)())
    {
        for (ForkHold* hold = GetLast(); hold; hold = hold->mpPrevious)
            hold->GiveBack(leave);
        gListLock.UnlockAfterFork();
    }

    void ForkHold::AfterForkInParent()
    {
        GiveAllBack(&Lock::LeaveAfterForkInParent);
    }

    void ForkHold::AfterForkInChild()
    {
        for (ForkHold* hold = GetLast(); hold; hold = hold->mpPrevious)
            if (hold->mpClient)
                hold->mpClient->GoOnInForkedChild();
        GiveAllBack(&Lock::LeaveAfterForkInChild);
    }
}
