#include <QzSynch/CallbackProxyImpl.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

namespace
{
    using CountedImpl = QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>;

    struct Owner;

    struct Proxy final : QzSynch::CallbackProxyImpl<Owner>
    {
    };

    // Detaches itself in OnLastRelease, as the owners of proxies do, and says how it ended.
    struct Owner final : CountedImpl
    {
        struct Log
        {
            std::atomic<int> mEnds{0};
            std::atomic<int> mEndsWithoutDetaching{0};
        };

        Owner(Proxy& proxy, Log& log) : mProxy(proxy), mLog(log) {}

        ~Owner() override
        {
            ++mLog.mEnds;
            mLog.mEndsWithoutDetaching += mDetached ? 0 : 1;
        }

        void OnLastRelease() override
        {
            mProxy.SetTarget(nullptr);
            mDetached = true;
        }

        Proxy& mProxy;
        Log& mLog;
        std::atomic<bool> mDetached{false};
    };

    QzBase::CountedPtr<Owner> MakeOwner(Proxy& proxy, Owner::Log& log)
    {
        QzBase::CountedPtr<Owner> owner(new Owner(proxy, log));
        proxy.SetTarget(owner.get());
        return owner;
    }
}

TEST(CallbackProxy, GivesTheOwnerUntilItDetaches)
{
    Proxy proxy;
    Owner::Log log;
    auto owner = MakeOwner(proxy, log);

    QzBase::CountedPtr<Owner> other = proxy.GetTarget();
    EXPECT_EQ(other.get(), owner.get());
    owner.reset();
    EXPECT_FALSE(other->mDetached) << "somebody still holds it";
    other.reset();
    EXPECT_EQ(log.mEnds, 1);
    EXPECT_FALSE(proxy.GetTarget());
}

// A reference that is taken while the last one goes keeps the object alive, and is the last one in its turn.
TEST(ReferenceCounted, SurvivesAReferenceTakenInOnLastRelease)
{
    struct Reviving final : CountedImpl
    {
        explicit Reviving(QzBase::CountedPtr<Reviving>& keeper) : mKeeper(keeper) {}

        void OnLastRelease() override
        {
            if (++mCalls == 1)
                mKeeper = this;
        }

        QzBase::CountedPtr<Reviving>& mKeeper;
        int mCalls = 0;
    };

    QzBase::CountedPtr<Reviving> keeper;
    QzBase::CountedPtr<Reviving>(new Reviving(keeper)).reset();
    ASSERT_TRUE(keeper);
    EXPECT_EQ(keeper->mCalls, 1);
}

// Two holders let go at once, the second in every other round after a look through the proxy.
TEST(ReferenceCounted, NeverEndsWithoutOnLastRelease)
{
    constexpr int kRounds = 20'000;
    Proxy proxy;
    Owner::Log log;
    QzBase::CountedPtr<Owner> held[2];
    std::barrier<> gate(2);

    auto const run = [&](int me)
    {
        for (int round = 0; round < kRounds; ++round)
        {
            if (me == 0)
                held[0] = held[1] = MakeOwner(proxy, log);
            gate.arrive_and_wait();
            if (me == 1 && round % 2)
            {
                EXPECT_TRUE(proxy.GetTarget());
            }
            held[me].reset();
            gate.arrive_and_wait();
        }
    };
    std::thread other(run, 1);
    run(0);
    other.join();

    EXPECT_EQ(log.mEnds, kRounds);
    EXPECT_EQ(log.mEndsWithoutDetaching, 0);
}
