#include <QzSynch/Locks.h>

#include "os/Fork.h"
#include "support/synch/RWLockAtFork.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

// Readers and writer meet in the manner of Dekker: a reader raises its count and then looks for a writer,
// a writer announces itself and then looks at the counts, so at least one of them sees the other. That
// holds only in the single order of sequentially consistent operations, the default of all atomics here.

namespace QzSynch
{
    namespace
    {
        constexpr std::size_t kCacheLine = 64;
        constexpr std::size_t kSlotCount = 8;

        constinit std::atomic<unsigned int> gThreadCount{0};

        // Which count the calling thread uses, plus 1; 0 until it has one. Initial-exec keeps the access at
        // one instruction in a shared library.
        [[gnu::tls_model("initial-exec")]] constinit thread_local unsigned int gSlotOfThread = 0;

        std::size_t GetSlotOfThread() noexcept
        {
            if (gSlotOfThread == 0)
                gSlotOfThread = gThreadCount.fetch_add(1, std::memory_order_relaxed) % kSlotCount + 1;
            return gSlotOfThread - 1;
        }

        class RWLock_Impl final : public RWLock
        {
        public:
            explicit RWLock_Impl(EnumHvnLockStackCategory category) noexcept : mCategory(category) {}

            void Delete() override { delete this; }
            EnumHvnLockStackCategory GetCategory() const override { return mCategory; }

            void EnterBeforeFork()
            {
                EnterWrite();
                mGate.lock();
                mIsHeldForFork = true;
            }

            void LeaveAfterForkInParent()
            {
                mIsHeldForFork = false;
                mGate.unlock();
                LeaveWrite();
            }

            // Whoever waits here does so in the parent only, and must not be let in.
            void LeaveAfterForkInChild()
            {
                for (Slot& slot : mSlots)
                {
                    slot.mReaders.store(0);
                    slot.mWaiting = 0;
                }
                LeaveAfterForkInParent();
            }

        private:
            // A cache line for each group of threads, so that threads which read at once do not take the
            // line away from each other.
            struct alignas(kCacheLine) Slot
            {
                std::atomic<int> mReaders{0};
                int mWaiting = 0; // under mGate: readers to be let in when the present writer leaves
            };

            void EnterRead() override
            {
                Slot& slot = mSlots[GetSlotOfThread()];
                slot.mReaders.fetch_add(1);
                if (mWriter.load() != 0)
                    WaitForWriter(slot);
            }

            void LeaveRead() override { StepBack(mSlots[GetSlotOfThread()]); }

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

            /// Whether the calling thread is the writer already, since it is amid a fork.
            bool IsOpenToThisThread() const noexcept { return QzOs::IsForking() && mIsHeldForFork; }

            void WaitForWriter(Slot& slot)
            {
                if (IsOpenToThisThread())
                    return;
                int turn = 0;
                {
                    std::lock_guard const gate(mGate);
                    // A writer announces itself under the gate. If there is none any more, the next one
                    // will find this reader's count.
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

            std::array<Slot, kSlotCount> mSlots;

            // Only read by readers, as long as no writer comes.
            alignas(kCacheLine) std::atomic<int> mWriter{0};
            EnumHvnLockStackCategory const mCategory;

            // Touched when somebody waits or writes.
            alignas(kCacheLine) std::mutex mWriters; // held for as long as a writer waits or is inside
            std::mutex mGate;                        // held for a few instructions
            std::atomic<int> mTurn{0};               // goes up whenever a writer leaves
            bool mIsHeldForFork = false;             // read and written by threads amid a fork, one at a time
        };
    }

    RWLock::~RWLock() = default;

    void EnterBeforeFork(RWLock& lock)
    {
        static_cast<RWLock_Impl&>(lock).EnterBeforeFork();
    }

    void LeaveAfterForkInParent(RWLock& lock)
    {
        static_cast<RWLock_Impl&>(lock).LeaveAfterForkInParent();
    }

    void LeaveAfterForkInChild(RWLock& lock)
    {
        static_cast<RWLock_Impl&>(lock).LeaveAfterForkInChild();
    }

    RWLock* CreateRWLock(EnumHvnLockStackCategory category)
    {
        return new RWLock_Impl(category);
    }
}
