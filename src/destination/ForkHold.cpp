#include "destination/ForkHold.h"

#include "os/ThreadKey.h"

#include <mutex>

namespace QzLog
{
    namespace
    {
        // Guards the list; taken before the locks of its members, and held while the process forks. Neither has a
        // destructor, since the process may fork to its very end.
        constinit std::mutex gListLock;
        constinit ForkHold* gpFirst = nullptr;
    }

    ForkHold::ForkHold(QzSynch::CriticalSection& lock, Client& client) : mLock(lock), mClient(client)
    {
        [[maybe_unused]] static bool const watched =
            QzOs::CallAroundProcessCopy(BeforeFork, AfterForkInParent, AfterForkInChild);
        std::lock_guard const hold(gListLock);
        mpNext = gpFirst;
        if (mpNext)
            mpNext->mpPrevious = this;
        gpFirst = this;
    }

    ForkHold::~ForkHold()
    {
        std::lock_guard const hold(gListLock);
        if (mpNext)
            mpNext->mpPrevious = mpPrevious;
        (mpPrevious ? mpPrevious->mpNext : gpFirst) = mpNext;
    }

    void ForkHold::BeforeFork()
    {
        gListLock.lock();
        for (ForkHold* hold = gpFirst; hold; hold = hold->mpNext)
            hold->mHold.emplace(hold->mLock);
    }

    void ForkHold::AfterForkInParent()
    {
        for (ForkHold* hold = gpFirst; hold; hold = hold->mpNext)
            hold->mHold.reset();
        gListLock.unlock();
    }

    void ForkHold::AfterForkInChild()
    {
        for (ForkHold* hold = gpFirst; hold; hold = hold->mpNext)
            hold->mClient.GoOnInForkedChild();
        AfterForkInParent();
    }
}
