#include <QzSynch/CallbackProxyImpl.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <string>
#include <thread>
#include <utility>

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

namespace
{
    // Lets something happen between a read of the counter and what the reader does next, as another thread
    // could do it.
    class ScriptedCounter
    {
    public:
        explicit ScriptedCounter(int value) : mValue(value) {}
        int operator++() { return ++mValue; }
        int operator--() { return --mValue; }

        operator int() const
        {
            int const value = mValue;
            if (auto const meanwhile = std::exchange(gAfterNextRead, nullptr))
                meanwhile();
            return value;
        }

        bool CompareExchange(int& expected, int desired)
        {
            if (mValue == expected)
            {
                mValue = desired;
                return true;
            }
            expected = mValue;
            return false;
        }

        static inline std::function<void()> gAfterNextRead;

    private:
        int mValue;
    };

    struct Scripted final : QzSynch::ReferenceCountedImpl<ScriptedCounter>
    {
        explicit Scripted(std::string& log) : mLog(log) {}
        ~Scripted() override { mLog += "end "; }
        void OnLastRelease() override { mLog += "last "; }

        std::string& mLog;
    };
}

TEST(ReferenceCounted, AlwaysDetachesLastWhateverHappensInBetween)
{
    using Holder = QzBase::CountedPtr<Scripted>;
    struct
    {
        char const* mpName;
        void (*mMeanwhile)(Holder& other, Scripted& object);
        bool mOtherHolds;
        char const* mpExpected;
    } const cases[] = {{"both read 2", [](Holder& other, Scripted&) { other.reset(); }, true, "last end "},
        {"a reference comes and goes", [](Holder&, Scripted& object) { Holder(&object).reset(); }, false, "last end "},
        {"a reference comes and stays", [](Holder& other, Scripted& object) { other = &object; }, false, "last stays "},
        {"nothing", [](Holder&, Scripted&) {}, true, "stays "}};

    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.mpName);
        std::string log;
        Holder holder(new Scripted(log));
        Holder other(test.mOtherHolds ? holder.get() : nullptr);
        ScriptedCounter::gAfterNextRead = [&, object = holder.get()] { test.mMeanwhile(other, *object); };
        holder.reset();
        if (other)
        {
            log += "stays ";
            EXPECT_EQ(log, test.mpExpected);
            other.reset();
            EXPECT_EQ(log, test.mpExpected + std::string("last end "));
        }
        EXPECT_EQ(log.substr(0, std::string(test.mpExpected).size()), test.mpExpected);
    }
}

// Two holders let go at once, the second in every other round after a look through the proxy.
TEST(ReferenceCounted, NeverEndsWithoutOnLastRelease)
{
    constexpr int kRounds = 5'000;
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
