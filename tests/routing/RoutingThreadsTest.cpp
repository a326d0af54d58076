#include "routing/Dispatcher_Impl.h"
#include "routing/Road.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

using namespace Road;

namespace
{
    /// A dispatcher that lets something else happen between its look and its answer.
    class SlowDispatcher final : public Dispatcher_Impl
    {
    public:
        using Dispatcher_Impl::Dispatcher_Impl;

        bool HasDestinations() override
        {
            bool const answer = Dispatcher_Impl::HasDestinations();
            if (auto const action = std::exchange(mBeforeAnswer, nullptr))
                action();
            return answer;
        }

        std::function<void()> mBeforeAnswer;
    };

    class RoutingThreadsTest : public testing::Test
    {
    protected:
        Initializer const mInitializer;
        CountedPtr<RecordingDestination> const mpDestination{new RecordingDestination};
        Hook& mHook = InstallHook();
    };
}

TEST_F(RoutingThreadsTest, ALateAnswerDoesNotStand)
{
    CountedPtr<SlowDispatcher> const slow(new SlowDispatcher("D"));
    mHook.mOnDispatcher = [&](DispatcherPtr& dispatcher) { dispatcher = DispatcherPtr(slow); };
    CountedPtr<Router> const router = MakeRouter();
    // The list is filled while the first reader of the empty one has not yet stored what it saw.
    slow->mBeforeAnswer = [&]
    {
        std::thread([&] { SetDestinations(*slow, {mpDestination.get()}); }).join();
        EXPECT_TRUE(router->mEnabled);
    };
    SetDestinations(*slow, {});
    EXPECT_TRUE(router->mEnabled);
}

TEST_F(RoutingThreadsTest, RoutersAgreeWithTheirDispatchersInTheEnd)
{
    // Four kinds of change at once: lists, exchanged dispatchers, new routers and names, and messages all the while.
    // The changes must get through although the messages never pause.
    mHook.mOnDispatcher = [](DispatcherPtr& dispatcher) { dispatcher = CreateDispatcher(dispatcher->GetName()); };
    std::vector<CountedPtr<Router>> const routers{MakeRouter("A"), MakeRouter("B"), MakeRouter("A")};
    std::atomic<bool> stop{false};
    std::thread logging(
        [&]
        {
            for (std::size_t round = 0; !stop; ++round)
                Log(*routers[round % routers.size()]);
        });
    auto const change = [&](std::size_t seed)
    {
        for (std::size_t round = 0; round < 300; ++round)
        {
            DispatcherPtr const dispatcher = routers[(round + seed) % routers.size()]->GetDispatcher();
            dispatcher->SetDestinations(round % 2 ? CreateDestinationCollection({mpDestination.get()}) : nullptr);
            CountedPtr<Router> const created = MakeRouter(std::to_string(round).c_str());
            EXPECT_STREQ(created->GetDispatcher()->GetName(), std::to_string(round).c_str());
            if (round % 50 == seed)
                RefreshConfiguration();
        }
    };
    std::thread first(change, 1u);
    std::thread second(change, 2u);
    first.join();
    second.join();
    stop = true;
    logging.join();
    for (CountedPtr<Router> const& router : routers)
        EXPECT_EQ(router->mEnabled, router->GetDispatcher()->HasDestinations());
    EXPECT_EQ(Road::GetLogger()->GetDispatcherCollection()->GetDispatcherHandle("new"), (302 ^ 0xDAFF));
}
