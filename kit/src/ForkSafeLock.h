#pragma once

#include <array>
#include <cstddef>
#include <mutex>

namespace QzLogKit
{
    /// A readers-writer lock that is held for writing whenever the process forks, so that no child inherits it from a
    /// thread that it does not have. It is made of ordinary mutexes, which the child can release: a reader takes the
    /// one of its thread's stripe, a writer takes all. Readers disturb each other only if they share a stripe.
    ///
    /// Nothing of the user's and nothing of the core is called under one, and a thread that holds one takes no other.
    class ForkSafeLock
    {
    public:
        class ReadHold
        {
        public:
            explicit ReadHold(ForkSafeLock& lock) : mHold(lock.mStripes[GetStripe()].mMutex) {}

        private:
            std::lock_guard<std::mutex> const mHold;
        };

        class WriteHold
        {
        public:
            explicit WriteHold(ForkSafeLock& lock) : mLock(lock) { mLock.LockAll(); }
            ~WriteHold() { mLock.UnlockAll(); }
            WriteHold(WriteHold const&) = delete;
            WriteHold& operator=(WriteHold const&) = delete;

        private:
            ForkSafeLock& mLock;
        };

        ForkSafeLock();
        ~ForkSafeLock();
        ForkSafeLock(ForkSafeLock const&) = delete;
        ForkSafeLock& operator=(ForkSafeLock const&) = delete;

        /// How many forks lie between this process and the one that loaded the library.
        static unsigned int GetForkCount();

    private:
        class All;

        struct alignas(64) Stripe
        {
            std::mutex mMutex;
        };

        static constexpr std::size_t kStripeCount = 8;
        static constexpr std::size_t kNoStripe = kStripeCount;

        static std::size_t GetStripe() { return tStripe != kNoStripe ? tStripe : ChooseStripe(); }
        static std::size_t ChooseStripe();
        void LockAll();
        void UnlockAll();

        // Initial-exec: no call of the dynamic linker.
        [[gnu::tls_model("initial-exec")]] static constinit thread_local std::size_t tStripe;

        std::array<Stripe, kStripeCount> mStripes;
        ForkSafeLock* mpNext = nullptr;
        ForkSafeLock** mpPrevious = nullptr;
    };
}
