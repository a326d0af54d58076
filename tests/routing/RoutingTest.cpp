#include "routing/Road.h"

#include <gmock/gmock.h>

#include <utility>

using namespace Road;
using testing::ElementsAre;

namespace
{
    class RoutingTest : public testing::Test
    {
    protected:
        Logger::DispatcherCollection& Dispatchers() { return *Road::GetLogger()->GetDispatcherCollection(); }

        Initializer const mInitializer;
        CountedPtr<RecordingDestination> const mpDestination{new RecordingDestination};
        CountedPtr<Listener> const mpListener{new Listener};
    };
}

TEST_F(RoutingTest, NamesAreExactAndHandlesCountInOrderOfCreation)
{
    CountedPtr<Logger> const logger = Road::GetLogger();
    EXPECT_EQ(GetLogger("L", static_cast<QzSynch::EnumHvnLockStackCategory>(17)).get(), logger.get());
    EXPECT_NE(Road::GetLogger("l").get(), logger.get());
    EXPECT_STREQ(Road::GetLogger(nullptr)->GetName(), "");
    unsigned short handle = 0xDAFF;
    for (char const* const name : {"A", "a", "A "})
        EXPECT_EQ(Dispatchers().GetDispatcherHandle(name), handle--);
    EXPECT_EQ(Dispatchers().GetDispatcherHandle("A"), 0xDAFF);
    EXPECT_STREQ(Dispatchers().GetDispatcher(0xDAFE)->GetName(), "a");
    EXPECT_THROW(Dispatchers().GetDispatcher(0xDAFC), QzBase::Message);
    EXPECT_THROW(Dispatchers().GetDispatcher(0), QzBase::Message);
}

TEST_F(RoutingTest, RoutersFollowTheirDispatcherAlone)
{
    CountedPtr<Router> const first = MakeRouter("A");
    CountedPtr<Router> const second = MakeRouter("A");
    CountedPtr<Router> const other = MakeRouter("B");
    DispatcherPtr const dispatcher = first->GetDispatcher();
    EXPECT_FALSE(first->mEnabled);
    SetDestinations(*dispatcher, {mpDestination.get()});
    EXPECT_TRUE(first->mEnabled && second->mEnabled && !other->mEnabled && MakeRouter("A")->mEnabled);
    EXPECT_THROW(SetDestinations(*dispatcher, {mpDestination.get(), nullptr}), QzBase::Message);
    EXPECT_TRUE(first->mEnabled);
    dispatcher->SetDestinations(nullptr);
    EXPECT_FALSE(first->mEnabled || second->mEnabled);
}

TEST_F(RoutingTest, DeliversInListOrderOnTheListItBeganWith)
{
    CountedPtr<Router> const router = MakeRouter();
    DispatcherPtr const dispatcher = router->GetDispatcher();
    std::string order;
    CountedPtr<RecordingDestination> first(new RecordingDestination);
    first->mAction = [&]
    {
        order += '1';
        SetDestinations(*dispatcher, {});
    };
    first->mAtEnd = [&] { order += dispatcher->HasDestinations() ? '?' : 'x'; };
    mpDestination->mAction = [&] { order += '2'; };
    SetDestinations(*dispatcher, {first.get(), mpDestination.get(), first.get()});
    first = nullptr;
    Log(*router);
    Log(*router);
    EXPECT_EQ(order, "121x");
}

TEST_F(RoutingTest, StructuredMessagesComeBackWithTheirTexts)
{
    Line const line;
    QzResource::RegisterMessageText(0, 77, 1, "local");
    QzBase::Message message(77, 1, "text");
    line.mpDestination->mAction = [] { throw 7; };
    EXPECT_THROW(line.mpRouter->LogAndUpdateMessage(message), int);
    EXPECT_EQ(message.GetLocalizedText(0), nullptr);
    line.mpDestination->mAction = nullptr;
    line.mpRouter->LogBaseMessage(message);
    line.mpRouter->LogAndUpdateMessage(message);
    EXPECT_STREQ(message.GetLocalizedText(0), "local");
    EXPECT_EQ(line.mpDestination->mRecords.back().mID, 1u);
    EXPECT_EQ(line.mpDestination->TakeTexts(), "local local ");
}

TEST_F(RoutingTest, CallbacksAreASetThatMayChangeMeanwhile)
{
    std::vector<CountedPtr<Router>> routers;
    for (int i = 0; i < 8; ++i)
        routers.push_back(MakeRouter());
    CountedPtr<Logger> const logger = Road::GetLogger();
    // Some of the routers' own listeners are called behind this one, and find them gone.
    mpListener->mAction = [&]
    {
        routers.clear();
        logger->RemoveCallback(mpListener.get());
    };
    logger->AddCallback(mpListener.get());
    logger->AddCallback(mpListener.get());
    logger->AddCallback(nullptr);
    for (int i = 0; i < 2; ++i)
        SetDestinations(*Dispatchers().GetDispatcher(0xDAFF), {mpDestination.get()});
    EXPECT_THAT(mpListener->mHandles, ElementsAre(0xDAFF));
}

TEST_F(RoutingTest, AHookThatFailsLeavesNothingBehind)
{
    Hook& hook = InstallHook();
    auto const takeAway = [](DispatcherPtr& dispatcher) { dispatcher = nullptr; };
    hook.mOnDispatcher = [](DispatcherPtr&) { throw 7; };
    EXPECT_THROW(MakeRouter(), int);
    hook.mOnDispatcher = takeAway;
    EXPECT_THROW(MakeRouter(), QzBase::Message);
    hook.mOnDispatcher = [](DispatcherPtr&) {};
    EXPECT_EQ(Dispatchers().GetDispatcherHandle("A"), 0xDAFF);
    hook.mOnDispatcher = takeAway;
    EXPECT_THROW(RefreshConfiguration(), QzBase::Message);
    EXPECT_STREQ(Dispatchers().GetDispatcher(0xDAFF)->GetName(), "A");

    // A logger that is dropped leaves the dispatcher that it got in peace.
    DispatcherPtr const kept = CreateDispatcher("kept");
    hook.mOnDispatcher = [&](DispatcherPtr& dispatcher) { dispatcher = kept; };
    hook.mOnLogger = [](Logger& logger)
    {
        logger.GetDispatcherCollection()->GetDispatcherHandle("A");
        throw 7;
    };
    EXPECT_THROW(Road::GetLogger("dropped"), int);
    SetDestinations(*kept, {mpDestination.get()});
}

TEST_F(RoutingTest, OneNameHasOneHandleWhenTwoCreateItAtOnce)
{
    // The hook stands for the second thread: it asks for the name while the first one is creating it.
    for (bool const shares : {false, true})
    {
        SCOPED_TRACE(shares ? "both get one dispatcher" : "each has its own");
        CountedPtr<Logger> const logger = Road::GetLogger(shares ? "S" : "O");
        DispatcherPtr const shared = CreateDispatcher("A");
        DispatcherPtr loser;
        bool isInside = false;
        InstallHook().mOnDispatcher = [&](DispatcherPtr& dispatcher)
        {
            if (shares)
                dispatcher = shared;
            if (std::exchange(isInside, true))
                return;
            loser = dispatcher;
            EXPECT_EQ(logger->GetDispatcherCollection()->GetDispatcherHandle("A"), 0xDAFF);
        };
        EXPECT_EQ(logger->GetDispatcherCollection()->GetDispatcherHandle("A"), 0xDAFF);
        EXPECT_THROW(logger->GetDispatcherCollection()->GetDispatcher(0xDAFE), QzBase::Message);
        mpListener->mHandles.clear();
        logger->AddCallback(mpListener.get());
        SetDestinations(*loser, {});
        EXPECT_EQ(mpListener->mHandles.size(), shares ? 1u : 0u);
    }
}

TEST_F(RoutingTest, ARefreshExchangesDispatchersBehindTheirHandles)
{
    Hook& hook = InstallHook();
    DispatcherPtr const shared = CreateDispatcher("shared");
    hook.mOnDispatcher = [&](DispatcherPtr& dispatcher) { dispatcher = shared; };
    CountedPtr<Router> const first = MakeRouter("A");
    CountedPtr<Router> const second = MakeRouter("B");
    SetDestinations(*shared, {mpDestination.get()});
    EXPECT_TRUE(first->mEnabled && second->mEnabled);

    // One of the two places gets another dispatcher; the other one goes on following the shared one.
    DispatcherPtr replacement = CreateDispatcher("replacement");
    hook.mOnDispatcher = [&](DispatcherPtr& dispatcher)
    {
        if (DispatcherPtr const given = std::exchange(replacement, nullptr))
            dispatcher = given;
    };
    RefreshConfiguration();
    EXPECT_TRUE(!first->mEnabled && second->mEnabled);
    SetDestinations(*shared, {});
    EXPECT_FALSE(second->mEnabled);
    SetDestinations(*first->GetDispatcher(), {mpDestination.get()});
    Log(*first);
    EXPECT_EQ(mpDestination->mRecords.front().mNames, "L/replacement");
}

TEST_F(RoutingTest, UsersObjectsEndWithNoLockHeld)
{
    // Each destructor asks what it is being taken out of, which would wait for ever under that lock.
    CountedPtr<Router> const router = MakeRouter();
    DispatcherPtr const dispatcher = router->GetDispatcher();
    Logger& logger = *router->GetLogger();
    std::string ended;

    InstallHook().mAtEnd = [&] { ended += GetConfigurationHook() ? '?' : 'h'; };
    SetConfigurationHook(nullptr);

    CountedPtr<RecordingDestination> destination(new RecordingDestination);
    destination->mAtEnd = [&] { ended += dispatcher->HasDestinations() ? '?' : 'd'; };
    SetDestinations(*dispatcher, {destination.get()});
    destination = nullptr;
    SetDestinations(*dispatcher, {});

    Listener* const listener = new Listener;
    listener->mAtEnd = [&] { ended += logger.GetMessageCatalog() ? '?' : 'l'; };
    logger.AddCallback(listener);
    logger.RemoveCallback(listener);
    EXPECT_EQ(ended, "hdl");
}
