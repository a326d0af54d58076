#include "routing/CallPath.h"
#include "routing/Dispatcher_Impl.h"

#include <gtest/gtest.h>

#include <thread>

using namespace CallPath;

namespace
{
    /// A dispatcher in whose operations something else happens, once, as if on another thread.
    class SlowDispatcher final : public Dispatcher_Impl
    {
    public:
        using Dispatcher_Impl::Dispatcher_Impl;
        using Action = std::function<void()>;

        bool HasDestinations() override
        {
            bool const answer = Dispatcher_Impl::HasDestinations();
            Run(mBeforeAnswer);
            return answer;
        }

        void AddCallback(Dispatcher::Callback* callback) override
        {
            Dispatcher_Impl::AddCallback(callback);
            Run(mAfterAdding);
        }

        void RemoveCallback(Dispatcher::Callback* callback) override
        {
            Run(mBeforeRemoving);
            Dispatcher_Impl::RemoveCallback(callback);
            Run(mAfterRemoving);
        }

        Action mBeforeAnswer, mAfterAdding, mBeforeRemoving, mAfterRemoving;
        AtEnd mAtEnd;

    private:
        static void Run(Action& action)
        {
            if (Action const taken = std::exchange(action, nullptr))
                taken();
        }
    };

    struct RoutingThreadsTest : testing::Test, Module
    {
        CountedPtr<SlowDispatcher> const mpSlow{new SlowDispatcher("D")};
        Hook& mHook = InstallHook();
        std::function<void(DispatcherPtr&)> const mGiveSlow = [this](DispatcherPtr& dispatcher)
        { dispatcher = mpSlow; };
        std::function<void(DispatcherPtr&)> const mGiveNew = [](DispatcherPtr& dispatcher)
        { dispatcher = CreateDispatcher(dispatcher->GetName()); };
    };
}

TEST_F(RoutingThreadsTest, ALateAnswerDoesNotStand)
{
    mHook.mOnDispatcher = mGiveSlow;
    CountedPtr<Router> const router = MakeRouter("A");
    // The list is filled while the first reader of the empty one has not yet stored what it saw.
    mpSlow->mBeforeAnswer = [&]
    {
        SetDestinations(*mpSlow, {&mDestination});
        EXPECT_TRUE(router->mEnabled);
    };
    SetDestinations(*mpSlow, {});
    EXPECT_TRUE(router->mEnabled);
}

TEST_F(RoutingThreadsTest, ADispatcherKeepsItsListenerWhileItStandsAnywhere)
{
    mHook.mOnDispatcher = mGiveSlow;
    CountedPtr<Router> const first = MakeRouter("A");
    CountedPtr<Router> const second = MakeRouter("B");
    SetDestinations(*mpSlow, {&mDestination});
    EXPECT_TRUE(first->mEnabled && second->mEnabled);

    // A refresh takes it from its first place; routers stay with the place.
    mHook.mOnDispatcher = [&, isFirst = true](DispatcherPtr& dispatcher) mutable
    {
        if (dispatcher.get() == mpSlow.get() && std::exchange(isFirst, false))
            mGiveNew(dispatcher);
    };
    RefreshConfiguration();
    EXPECT_TRUE(!first->mEnabled && second->mEnabled);
    SetDestinations(*mpSlow, {});
    EXPECT_FALSE(second->mEnabled);
    SetDestinations(*first->GetDispatcher(), {&mDestination});
    Log(*first);
    EXPECT_EQ(mDestination.TakeTexts(), "text ");

    // It leaves its last place, and another thread gives it a new one before it is detached.
    CountedPtr<Router> third;
    mpSlow->mBeforeRemoving = [&]
    {
        mHook.mOnDispatcher = mGiveSlow;
        third = MakeRouter("C");
    };
    mpSlow->mAfterRemoving = [&] { SetDestinations(*mpSlow, {&mDestination}); };
    mHook.mOnDispatcher = mGiveNew;
    RefreshConfiguration();
    EXPECT_TRUE(third->mEnabled);
    SetDestinations(*mpSlow, {});
    EXPECT_FALSE(third->mEnabled);

    // It leaves its last place while it is on its way to a new one.
    mpSlow->mAfterAdding = [&]
    {
        mHook.mOnDispatcher = mGiveNew;
        RefreshConfiguration();
    };
    CountedPtr<Router> const fourth = MakeRouter("E");
    SetDestinations(*mpSlow, {&mDestination});
    EXPECT_TRUE(fourth->mEnabled && !third->mEnabled);
}

TEST_F(RoutingThreadsTest, AnExchangedDispatcherEndsBehindTheCallThatIsInside)
{
    QzBase::Message message(1, 2, "text");
    std::pair<char const*, std::function<void(Router&)>> const calls[] = {{"A", [](Router& r) { Log(r); }},
        {"B", [&](Router& r) { r.LogBaseMessage(message); }},
        {"C", [&](Router& r) { r.LogAndUpdateMessage(message); }}};
    for (auto const& [name, call] : calls)
    {
        std::string order;
        mHook.mOnDispatcher = [&, given = name](DispatcherPtr& dispatcher)
        {
            CountedPtr<SlowDispatcher> const slow(new SlowDispatcher(given));
            slow->mAtEnd = [&order] { order += "end "; };
            dispatcher = slow;
        };
        CountedPtr<Router> const router = MakeRouter(name);
        SetDestinations(*router->GetDispatcher(), {&mDestination});
        mDestination.mAction = [&]
        {
            mHook.mOnDispatcher = mGiveNew;
            RefreshConfiguration();
            order += "exchanged ";
        };
        call(*router);
        EXPECT_EQ(order, "exchanged end ") << name;
    }
}

TEST_F(RoutingThreadsTest, RoutersAgreeWithTheirDispatchersInTheEnd)
{
    // Four kinds of change at once: lists, exchanged dispatchers, new routers and names, and messages all the while.
    // The changes must get through although the messages never pause.
    mHook.mOnDispatcher = mGiveNew;
    mDestination.mForgets = true;
    std::vector<CountedPtr<Router>> const routers{MakeRouter("A"), MakeRouter("B"), MakeRouter("A")};
    auto const change = [&](std::size_t seed)
    {
        for (std::size_t round = 0; round < 200; ++round)
        {
            DispatcherPtr const dispatcher = routers[(round + seed) % routers.size()]->GetDispatcher();
            dispatcher->SetDestinations(round % 2 ? CreateDestinationCollection({&mDestination}) : nullptr);
            CountedPtr<Router> const created = MakeRouter(std::to_string(round).c_str());
            EXPECT_STREQ(created->GetDispatcher()->GetName(), std::to_string(round).c_str());
            if (round % 50 == seed)
                RefreshConfiguration();
        }
    };
    {
        std::vector<std::jthread> logging;
        for (CountedPtr<Router> const& router : routers)
            logging.emplace_back(
                [&router](std::stop_token const& stop)
                {
                    while (!stop.stop_requested())
                        Log(*router);
                });
        std::jthread const first(change, 1u);
        std::jthread const second(change, 2u);
    }
    for (CountedPtr<Router> const& router : routers)
        EXPECT_EQ(router->mEnabled, router->GetDispatcher()->HasDestinations());
    EXPECT_EQ(CallPath::GetLogger()->GetDispatcherCollection()->GetDispatcherHandle("new"), (203 ^ 0xDAFF));
}
