#include "routing/Loan.h"
#include "support/ForkedChild.h"

#include <QzBase/CountedPtr.h>
#include <QzSynch/Locks.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <latch>
#include <optional>

namespace
{
    using QzLog::Lendable;
    using QzLog::Loan;
    using QzLog::LoanBase;

    std::atomic<int> gAlive{0};

    class Object : public QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>
    {
    public:
        Object() { ++gAlive; }
        ~Object() override
        {
            mIsAlive = false;
            --gAlive;
        }

        /// Not that of an object before: that would hide that the loan outlives it.
        static void* operator new(std::size_t) { return gMemory[gMade++ % std::size(gMemory)]; }
        static void operator delete(void*) {}

        std::atomic<bool> mIsAlive{true};

    private:
        alignas(64) static inline std::byte gMemory[60'000][64];
        static inline std::size_t gMade = 0;
    };

    QzBase::ReturnPtrI<Object> MakeObject()
    {
        return QzBase::ReturnPtrI<Object>(new Object);
    }

    /// An object that can be borrowed, and its lock.
    struct Owner
    {
        void Replace(QzBase::ReturnPtrI<Object> object)
        {
            static_cast<void>(mObject.Exchange(std::move(object), *mpLock));
        }

        Lendable<Object> mObject;
        QzSynch::RWLockPtr const mpLock{QzSynch::CreateRWLock(QzSynch::kLockStackCategoryDefault)};
    };
}

TEST(Loan, KeepsWhatWasReplacedUntilItsEndAndNoLonger)
{
    // With one to six loans each has a place; the seventh and eighth are counted.
    for (std::size_t const loans : {1u, 6u, 8u})
    {
        SCOPED_TRACE(loans);
        std::optional<Owner> owner(std::in_place);
        owner->Replace(MakeObject());
        std::vector<std::optional<Loan<Object>>> open(loans);
        for (auto& loan : open)
            loan.emplace(owner->mObject, *owner->mpLock);
        open.front().reset(); // one that is over by then gets no reference

        if (loans == 6)
            owner.reset();
        else
            owner->Replace(nullptr);
        EXPECT_EQ(gAlive, loans == 1 ? 0 : 1);
        for (auto& loan : open)
        {
            EXPECT_TRUE(!loan || (*loan)->mIsAlive);
            loan.reset();
        }
        EXPECT_EQ(gAlive, 0);
        EXPECT_FALSE(owner && Loan<Object>(owner->mObject, *owner->mpLock));
    }
}

TEST(Loan, OutlivesNoObjectThatIsReplacedAgainAndAgain)
{
    Owner owner;
    owner.Replace(MakeObject());
    std::atomic<int> faults{0};
    auto const borrow = [&](std::stop_token const& stop)
    {
        while (!stop.stop_requested())
        {
            Loan<Object> const outer(owner.mObject, *owner.mpLock);
            Loan<Object> const inner(owner.mObject, *owner.mpLock);
            faults += !outer->mIsAlive + !inner->mIsAlive;
        }
    };
    {
        std::jthread const borrowers[] = {std::jthread(borrow), std::jthread(borrow), std::jthread(borrow)};
        for (int i = 0; i < 50'000; ++i)
            owner.Replace(MakeObject());
    }
    owner.Replace(nullptr);
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(gAlive, 0);
}

TEST(Loan, OfAnotherThreadKeepsItsObjectForEverInAForkedChild)
{
    Owner owner;
    owner.Replace(MakeObject());
    std::optional<Loan<Object>> own(std::in_place, owner.mObject, *owner.mpLock);
    for (bool const isLentToAnother : {false, true})
    {
        std::latch lent(1);
        std::latch leave(1);
        std::jthread const other(
            [&]
            {
                std::optional<Loan<Object>> loan;
                if (isLentToAnother)
                    loan.emplace(owner.mObject, *owner.mpLock);
                lent.count_down();
                leave.wait();
            });
        lent.wait();
        ExpectInChild(
            [&]
            {
                LoanBase::ForgetOtherThreads();
                owner.Replace(nullptr);
                bool const isHeld = gAlive == 1;
                own.reset();
                return isHeld && gAlive == isLentToAnother;
            });
        leave.count_down();
    }
}
