#include "ForkSafeLock.h"

#include <pthread.h>

#include <atomic>

namespace QzLogKit
{
    namespace
    {
        std::atomic<unsigned int> gForkCount{0};
    }

    constinit thread_local std::size_t ForkSafeLock::tStripe = kNoStripe;

    std::size_t ForkSafeLock::ChooseStripe()
    {
        static std::atomic<std::size_t> gNextThread{0};
        return tStripe = gNextThread.fetch_add(1, std::memory_order_relaxed) % kStripeCount;
    }

    /// All locks of the process. Its own mutex is held around a fork too, and taken before any of them.
    class ForkSafeLock::All
    {
    public:
        static All& Get()
        {
            // Static objects may have locks that end after it.
            static All& all = *new All;
            return all;
        }

        static All& gAll;

        void Add(ForkSafeLock& lock)
        {
            std::lock_guard const hold(mMutex);
            lock.mpNext = mpFirst;
            lock.mpPrevious = &mpFirst;
            if (mpFirst)
                mpFirst->mpPrevious = &lock.mpNext;
            mpFirst = &lock;
        }

        void Remove(ForkSafeLock& lock)
        {
            std::lock_guard const hold(mMutex);
            *lock.mpPrevious = lock.mpNext;
            if (lock.mpNext)
                lock.mpNext->mpPrevious = lock.mpPrevious;
        }

    private:
        All()
        {
            // The core holds no lock while it calls a destination, so it does not matter whose handlers come first.
            pthread_atfork([] { Get().Hold(); }, [] { Get().Release(); },
                []
                {
                    gForkCount.fetch_add(1, std::memory_order_relaxed);
                    Get().Release();
                });
        }

        void Hold()
        {
            mMutex.lock();
            for (ForkSafeLock* lock = mpFirst; lock; lock = lock->mpNext)
                lock->LockAll();
        }

        void Release()
        {
            for (ForkSafeLock* lock = mpFirst; lock; lock = lock->mpNext)
                lock->UnlockAll();
            mMutex.unlock();
        }

        std::mutex mMutex;
        ForkSafeLock* mpFirst = nullptr;
    };

    // Created when the library is loaded, so that no fork happens during its construction.
    ForkSafeLock::All& ForkSafeLock::All::gAll = Get();

    ForkSafeLock::ForkSafeLock()
    {
        All::Get().Add(*this);
    }

    ForkSafeLock::~ForkSafeLock()
    {
        All::Get().Remove(*this);
    }

    unsigned int ForkSafeLock::GetForkCount()
    {
        return gForkCount.load(std::memory_order_relaxed);
    }

    void ForkSafeLock::LockAll()
    {
        for (Stripe& stripe : mStripes)
            stripe.mMutex.lock();
    }

    void ForkSafeLock::UnlockAll()
    {
        for (Stripe& stripe : mStripes)
            stripe.mMutex.unlock();
    }
}
