#include "support/synch/ForkSafeLocks.h"

#include "os/Fork.h"
#include "support/synch/ThreadStripe.h"

#include <atomic>
#include <cstddef>
#include <mutex>

// Readers and writers see each other by Dekker's scheme: a reader raises its count and then looks for a writer,
// a writer announces itself and then reads the counts, so at least one of them sees the other. That
// holds only in the single order of sequentially consistent operations, the default of all atomics here.
// tests/models/RWLock.pml is a model of this file.
//
// pthread_rwlock is no replacement, and neither is std::shared_mutex, which is made of it:
//   - All its readers write to one counter. Here, threads that log at the same time seldom share a cache line.
//   - It lets readers pass a waiting writer, or, with the other setting, lets a stream of writers starve the readers.
//     Here readers and writers take turns.
//   - It knows the writer by its thread ID, which changes in a forked child: the child could not release the lock that
//     was taken for it. And its counts of readers and sleepers cannot be reset there.

namespace QzSynch
{
    namespace
    {
        constexpr std::size_t kFrequentReaders = 8;
        constexpr std::size_t kRareReaders = 1;

        template <std::size_t slotCount>
        class RWLock_Impl : public RWLock
        {
        public:
            explicit RWLock_Impl(EnumHvnLockStackCategory category) noexcept : mCategory(category) {}

            void Delete() override { delete this; }
            EnumHvnLockStackCategory GetCategory() const override { return mCategory; }

        protected:
            void HoldForFork()
            {
                EnterWrite();
                mGate.lock();
                mIsHeldForFork = true;
            }

            void GiveBackAfterFork()
            {
                mIsHeldForFork = false;
                mGate.unlock();
                LeaveWrite();
            }

            // Threads that wait here exist only in the parent, and must not be let in.
            void ForgetOtherThreads()
            {
                for (Slot& slot : mSlots)
                {
                    slot.mReaders.store(0);
                    slot.mWaiting = 0;
                }
            }

        private:
            static constexpr std::size_t kAlignment = slotCount == kRareReaders ? alignof(std::mutex) : kCacheLine;

            struct Slot
            {
                std::atomic<int> mReaders{0};
                int mWaiting = 0; // under mGate: readers to be let in when the present writer leaves
            };

            void EnterRead() override
            {
                Slot& slot = mSlots.OfThisThread();
                slot.mReaders.fetch_add(1);
                if (mWriter.load() != 0)
                    WaitForWriter(slot);
            }

            void LeaveRead() override { StepBack(mSlots.OfThisThread()); }

            void EnterWrite() override
            {
                if (IsOpenToThisThread())
                    return;
                mWriters.lock();
                {
                    std::lock_guard const gate(mGate);
                    mWriter.store(1);
                }
                for (Slot& slot : mSlots)
                    while (int const readers = slot.mReaders.load())
                        slot.mReaders.wait(readers);
            }

            void LeaveWrite() override
            {
                if (IsOpenToThisThread())
                    return;
                if (LetWaitingReadersIn())
                    mTurn.notify_all();
                mWriters.unlock();
            }

            // Counts one reader less, and wakes the writer if that was the one it waits for. The writer
            // announced itself before it read the count, so either it reads 0 or it is seen here.
            void StepBack(Slot& slot) noexcept
            {
                if (slot.mReaders.fetch_sub(1) == 1 && mWriter.load() != 0)
                    slot.mReaders.notify_one();
            }

            /// Whether the calling thread is already the writer, because it is forking.
            bool IsOpenToThisThread() const noexcept { return QzOs::IsForking() && mIsHeldForFork; }

            void WaitForWriter(Slot& slot)
            {
                if (IsOpenToThisThread())
                    return;
                int turn = 0;
                {
                    std::lock_guard const gate(mGate);
                    // A writer announces itself under the gate. If there is none any more, the next one will see
                    // this reader's count.
                    if (mWriter.load() == 0)
                        return;
                    turn = mTurn.load();
                    ++slot.mWaiting;
                    StepBack(slot);
                }
                mTurn.wait(turn);
            }

            // The readers that came while the writer was there are counted as inside before the next
            // writer can announce itself: each reader waits for one writer only, however many follow.
            bool LetWaitingReadersIn()
            {
                bool any = false;
                std::lock_guard const gate(mGate);
                for (Slot& slot : mSlots)
                {
                    if (slot.mWaiting == 0)
                        continue;
                    any = true;
                    slot.mReaders.fetch_add(slot.mWaiting);
                    slot.mWaiting = 0;
                }
                mWriter.store(0);
                mTurn.fetch_add(1);
                return any;
            }

            ThreadStripes<Slot, slotCount> mSlots;

            // Readers only read it, as long as no writer comes.
            alignas(kAlignment) std::atomic<int> mWriter{0};
            EnumHvnLockStackCategory const mCategory;

            // Used when somebody waits or writes.
            alignas(kAlignment) std::mutex mWriters; // held for as long as a writer waits or is inside
            std::mutex mGate;                        // held for a few instructions
            std::atomic<int> mTurn{0};               // incremented whenever a writer leaves
            bool mIsHeldForFork = false;             // read and written by forking threads, one at a time
        };

        template <std::size_t slotCount>
        class ForkSafeRWLock final : public RWLock_Impl<slotCount>, private ForkHold::Lock
        {
        public:
            explicit ForkSafeRWLock(EnumHvnLockStackCategory category) : RWLock_Impl<slotCount>(category) {}

        private:
            void EnterBeforeFork() override { this->HoldForFork(); }
            void LeaveAfterForkInParent() override { this->GiveBackAfterFork(); }

            void LeaveAfterForkInChild() override
            {
                this->ForgetOtherThreads();
                this->GiveBackAfterFork();
            }

            ForkHold const mForkHold{*this};
        };
    }

    RWLock::~RWLock() = default;

    RWLock* CreateRWLock(EnumHvnLockStackCategory category)
    {
        return new RWLock_Impl<kFrequentReaders>(category);
    }

    RWLock* CreateForkSafeRWLock(EnumHvnLockStackCategory category, Readers readers)
    {
        if (readers == Readers::kRare)
            return new ForkSafeRWLock<kRareReaders>(category);
        return new ForkSafeRWLock<kFrequentReaders>(category);
    }
}
