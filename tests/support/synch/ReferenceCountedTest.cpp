#include <QzSynch/CallbackProxyImpl.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <gtest/gtest.h>

namespace
{
    // Lets something happen between a read of the count and what the reader does next.
    struct ScriptedCounter : QzSynch::AtomicLong
    {
        using AtomicLong::AtomicLong;

        operator int() const
        {
            int const value = AtomicLong::operator int();
            std::exchange(gAfterNextRead, [] {})();
            return value;
        }

        static inline std::function<void()> gAfterNextRead = [] {};
    };

    // Detaches itself from its proxy on its last release, and counts how it ends.
    struct Owner final : QzSynch::ReferenceCountedImpl<ScriptedCounter>
    {
        struct Proxy final : QzSynch::CallbackProxyImpl<Owner>
        {
            int mEnds = 0;
            int mEndsWithoutDetaching = 0;
        };

        explicit Owner(Proxy& proxy) : mProxy(proxy) { mProxy.SetTarget(this); }

        ~Owner() override
        {
            ++mProxy.mEnds;
            mProxy.mEndsWithoutDetaching += mDetached ? 0 : 1;
        }

        void OnLastRelease() override
        {
            mProxy.SetTarget(nullptr);
            mDetached = true;
        }

        Proxy& mProxy;
        bool mDetached = false;
    };

    using Holder = QzBase::CountedPtr<Owner>;
}

TEST(ReferenceCounted, DetachesBeforeItsEndWhateverHappensInBetween)
{
    std::tuple<char const*, bool, void (*)(Owner::Proxy&, Holder & other)> const rows[] = {
        {"both read 2", true, [](Owner::Proxy&, Holder& other) { other.reset(); }},
        {"one comes and goes", false, [](Owner::Proxy& proxy, Holder&) { EXPECT_TRUE(proxy.GetTarget()); }},
        {"one comes and stays", false, [](Owner::Proxy& proxy, Holder& other) { other = proxy.GetTarget(); }},
        {"one stays", true, [](Owner::Proxy&, Holder&) {}}};
    for (auto const& [name, otherHolds, meanwhile] : rows)
    {
        SCOPED_TRACE(name);
        Owner::Proxy proxy;
        Holder holder(new Owner(proxy));
        Holder other(otherHolds ? holder.get() : nullptr);
        ScriptedCounter::gAfterNextRead = [&, act = meanwhile] { act(proxy, other); };
        holder.reset();
        EXPECT_EQ(proxy.mEnds, other ? 0 : 1);
        other.reset();
        EXPECT_EQ(proxy.mEnds, 1);
        EXPECT_EQ(proxy.mEndsWithoutDetaching, 0);
        EXPECT_FALSE(proxy.GetTarget());
    }
}
