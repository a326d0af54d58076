#include "support/synch/ForkSafeLocks.h"

#include "support/synch/ConvoyFreeMutex.h"

#include <atomic>

namespace QzSynch
{
    namespace
    {
        // Its address identifies the calling thread, also its copy in a forked child. (The system's recursive mutex
        // uses the thread's number, which is another one there: a thread that forks with the lock held could not
        // release it in the child.) Initial-exec keeps the access at one instruction in a shared library.
        [[gnu::tls_model("initial-exec")]] constinit thread_local char gThread = 0;

        class CriticalSection_Impl : public CriticalSection
        {
        public:
            explicit CriticalSection_Impl(EnumHvnLockStackCategory category) noexcept : mCategory(category) {}

            void Delete() override { delete this; }
            EnumHvnLockStackCategory GetCategory() const override { return mCategory; }
            bool IsTriedFor() const noexcept { return mMutex.IsTriedFor(); }

        protected:
            void Enter() final
            {
                // Only this thread writes its own address there, so what others write makes no difference.
                if (mpOwner.load(std::memory_order_relaxed) != &gThread)
                {
                    mMutex.lock();
                    mpOwner.store(&gThread, std::memory_order_relaxed);
                }
                ++mDepth;
            }

            void Leave() final
            {
                if (--mDepth != 0)
                    return;
                mpOwner.store(nullptr, std::memory_order_relaxed);
                mMutex.unlock();
            }

        private:
            ConvoyFreeMutex mMutex;
            std::atomic<char const*> mpOwner{nullptr};
            unsigned int mDepth = 0; // under mMutex
            EnumHvnLockStackCategory const mCategory;
        };

        /// The forking thread holds it, so that thread does not wait for it during the fork.
        class ForkSafeSection final : public CriticalSection_Impl, private ForkHold::Lock
        {
        public:
            ForkSafeSection(EnumHvnLockStackCategory category, ForkHold::Rank rank, ForkHold::Client* client)
                : CriticalSection_Impl(category), mForkHold(*this, rank, client)
            {
            }

        private:
            void EnterBeforeFork() override { Enter(); }
            void LeaveAfterForkInParent() override { Leave(); }
            void LeaveAfterForkInChild() override { Leave(); }

            ForkHold const mForkHold;
        };
    }

    CriticalSection::~CriticalSection() = default;

    CriticalSection* CreateCriticalSection(EnumHvnLockStackCategory category)
    {
        return new CriticalSection_Impl(category);
    }

    CriticalSection* CreateForkSafeSection(
        EnumHvnLockStackCategory category, ForkHold::Rank rank, ForkHold::Client* client)
    {
        return new ForkSafeSection(category, rank, client);
    }

    bool IsTriedFor(CriticalSection const& section) noexcept
    {
        return static_cast<CriticalSection_Impl const&>(section).IsTriedFor();
    }
}
