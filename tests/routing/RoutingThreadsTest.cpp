#include "routing/Road.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

using namespace Road;

namespace
{
    constexpr int kRounds = 300;

    /// A user's dispatcher: another one behind a HasDestinations that can be held up between its look and its answer.
    class SlowDispatcher final : public Counted<Dispatcher>
    {
    public:
        explicit SlowDispatcher(Dispatcher& dispatcher) : mpDispatcher(&dispatcher) {}

        bool HasDestinations() override
        {
            bool const answer = mpDispatcher->HasDestinations();
            if (mBeforeAnswer)
                mBeforeAnswer();
            return answer;
        }

        char const* GetName() override { return mpDispatcher->GetName(); }
        void LogAndUpdateMessage(Logger& l, QzBase::Message& m) override { mpDispatcher->LogAndUpdateMessage(l, m); }
        void LogBaseMessage(Logger& l, QzBase::Message const& m) override { mpDispatcher->LogBaseMessage(l, m); }
        void LogText(Logger& logger, char const* text, unsigned int id, char const* file, char const* function,
            int line) override
        {
            mpDispatcher->LogText(logger, text, id, file, function, line);
        }
        void SetDestinations(CountedPtr<DestinationCollection> const& list) override
        {
            mpDispatcher->SetDestinations(list);
        }
        void AddCallback(Callback* callback) override { mpDispatcher->AddCallback(callback); }
        void RemoveCallback(Callback* callback) override { mpDispatcher->RemoveCallback(callback); }
        void FormatHeaderJson(Logger& logger, char const* text, unsigned int id, char const* file, char const* function,
            int line, std::string& json) override
        {
            mpDispatcher->FormatHeaderJson(logger, text, id, file, function, line, json);
        }

        CountedPtr<Dispatcher> const mpDispatcher;
        std::function<void()> mBeforeAnswer;
    };

    class RoutingThreadsTest : public testing::Test
    {
    protected:
        Initializer const mInitializer;
        CountedPtr<RecordingDestination> const mpDestination{new RecordingDestination};
        CountedPtr<Hook> const mpHook{new Hook};
    };
}

TEST_F(RoutingThreadsTest, ALateAnswerDoesNotStand)
{
    CountedPtr<SlowDispatcher> slow;
    mpHook->mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&)
    {
        slow = new SlowDispatcher(*dispatcher);
        dispatcher = CountedPtr<Dispatcher>(slow);
    };
    SetConfigurationHook(mpHook.get());
    CountedPtr<Router> const router = MakeRouter();

    // The list is filled while the first reader of the empty one has not yet stored what it saw.
    bool isFirst = true;
    slow->mBeforeAnswer = [&]
    {
        if (!std::exchange(isFirst, false))
            return;
        std::thread([&] { Road::SetDestinations(*slow, {mpDestination.get()}); }).join();
        EXPECT_TRUE(router->mEnabled);
    };
    Road::SetDestinations(*slow, {});
    EXPECT_TRUE(router->mEnabled);
}

TEST_F(RoutingThreadsTest, RoutersAgreeWithTheirDispatchersInTheEnd)
{
    // Four kinds of change at once: lists, exchanged dispatchers, new routers, and messages all the while. The
    // changes must get through although the messages never pause.
    mpHook->mOnDispatcher = [](CountedPtr<Dispatcher>& dispatcher, Logger&)
    { dispatcher = CreateDispatcher(dispatcher->GetName()); };
    SetConfigurationHook(mpHook.get());
    std::vector<CountedPtr<Router>> routers;
    for (int i = 0; i < 4; ++i)
        routers.push_back(MakeRouter(i % 2 ? "A" : "B"));

    std::atomic<bool> stop{false};
    std::thread logging(
        [&]
        {
            while (!stop)
            {
                for (CountedPtr<Router> const& router : routers)
                    LogString(*router, "text", nullptr, nullptr, nullptr, 0);
            }
        });
    auto const toggle = [&](unsigned int seed)
    {
        for (unsigned int round = 0; round < kRounds; ++round)
        {
            CountedPtr<Dispatcher> const dispatcher = routers[(round + seed) % 4]->GetDispatcher();
            if ((round / 4 + seed) % 2)
                SetDestinations(*dispatcher, {mpDestination.get()});
            else
                SetDestinations(*dispatcher, {});
        }
    };
    std::thread first(toggle, 0u);
    std::thread second(toggle, 1u);
    std::thread refreshing(
        []
        {
            for (int round = 0; round < kRounds / 10; ++round)
                RefreshConfiguration();
        });
    for (int round = 0; round < kRounds; ++round)
        EXPECT_TRUE(MakeRouter("A"));
    for (std::thread* const thread : {&first, &second, &refreshing})
        thread->join();
    stop = true;
    logging.join();
    routers.push_back(MakeRouter("A"));
    for (CountedPtr<Router> const& router : routers)
        EXPECT_EQ(router->mEnabled, router->GetDispatcher()->HasDestinations());
}

TEST_F(RoutingThreadsTest, ThreadsThatCreateTheSameNamesShareThem)
{
    for (int round = 0; round < 20; ++round)
    {
        std::string const logger = "L" + std::to_string(round);
        std::latch start(4);
        std::vector<CountedPtr<Router>> routers(4);
        std::vector<std::thread> threads;
        for (CountedPtr<Router>& router : routers)
        {
            threads.emplace_back(
                [&]
                {
                    start.arrive_and_wait();
                    router = MakeRouter("A", logger.c_str());
                });
        }
        for (std::thread& thread : threads)
            thread.join();
        Road::SetDestinations(*routers[0]->GetDispatcher(), {mpDestination.get()});
        for (CountedPtr<Router> const& router : routers)
        {
            EXPECT_EQ(router->GetLogger(), routers[0]->GetLogger());
            EXPECT_EQ(router->GetDispatcher().get(), routers[0]->GetDispatcher().get());
            EXPECT_TRUE(router->mEnabled);
        }
    }
}
