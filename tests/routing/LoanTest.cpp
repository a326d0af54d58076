#include "routing/Loan.h"
#include "support/ForkedChild.h"

#include <QzBase/CountedPtr.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace
{
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

        std::atomic<bool> mIsAlive{true};
    };

    using ObjectPtr = QzBase::CountedPtr<Object>;
}

TEST(Loan, KeepsWhatWasReplacedUntilItsEndAndNoLonger)
{
    // With one to four loans each has a place; the fifth and sixth are counted.
    for (std::size_t const loans : {1u, 4u, 6u})
    {
        SCOPED_TRACE(loans);
        ObjectPtr object(new Object);
        std::vector<std::optional<Loan<Object>>> open(loans);
        for (auto& loan : open)
            loan.emplace(object.get());
        open.front().reset(); // one that is over by then gets no reference

        LoanBase::HandOver(*object);
        object.reset();
        EXPECT_EQ(gAlive, loans == 1 ? 0 : 1);
        for (auto& loan : open)
        {
            EXPECT_TRUE(!loan || (*loan)->mIsAlive);
            loan.reset();
        }
        EXPECT_EQ(gAlive, 0);
    }
    Loan<Object> const none(nullptr);
    EXPECT_FALSE(none);
}

TEST(Loan, OutlivesNoObjectThatIsReplacedAgainAndAgain)
{
    std::shared_mutex lock;
    ObjectPtr object(new Object);
    std::atomic<bool> isOver{false};
    std::atomic<int> faults{0};
    std::vector<std::thread> borrowers;
    for (int i = 0; i < 3; ++i)
        borrowers.emplace_back(
            [&]
            {
                while (!isOver)
                {
                    auto const borrow = [&]
                    {
                        std::shared_lock const hold(lock);
                        return Loan<Object>(object.get());
                    };
                    Loan<Object> const outer = borrow();
                    Loan<Object> const inner = borrow();
                    faults += !outer->mIsAlive + !inner->mIsAlive;
                }
            });
    for (int i = 0; i < 5'000; ++i)
    {
        ObjectPtr replaced(new Object);
        {
            std::unique_lock const hold(lock);
            object.swap(replaced);
        }
        LoanBase::HandOver(*replaced);
    }
    isOver = true;
    for (std::thread& borrower : borrowers)
        borrower.join();
    object.reset();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(gAlive, 0);
}

TEST(Loan, OfAnotherThreadKeepsItsObjectForEverInAForkedChild)
{
    ObjectPtr object(new Object);
    std::optional<Loan<Object>> own(std::in_place, object.get());
    std::latch lent(1);
    std::latch leave(1);
    for (bool const isLentToAnother : {false, true})
    {
        std::jthread other;
        if (isLentToAnother)
        {
            other = std::jthread(
                [&]
                {
                    Loan<Object> const loan(object.get());
                    lent.count_down();
                    leave.wait();
                });
            lent.wait();
        }
        ExpectInChild(
            [&]
            {
                LoanBase::ForgetOtherThreads();
                LoanBase::HandOver(*object);
                object.reset();
                bool const isHeld = gAlive == 1;
                own.reset();
                return isHeld && gAlive == isLentToAnother;
            });
        if (isLentToAnother)
            leave.count_down();
    }
}
