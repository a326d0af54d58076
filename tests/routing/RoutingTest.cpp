#include "routing/Road.h"

#include <gmock/gmock.h>

#include <thread>

using namespace Road;
using testing::ElementsAre;

namespace
{
    class RoutingTest : public testing::Test
    {
    protected:
        CountedPtr<Logger> GetLoggerL() { return GetLogger("L", QzSynch::kLockStackCategoryDefault); }

        Hook& InstallHook()
        {
            CountedPtr<Hook> const hook(new Hook);
            SetConfigurationHook(hook.get());
            return *hook;
        }

        Initializer const mInitializer;
        CountedPtr<RecordingDestination> const mpDestination{new RecordingDestination};
    };
}

TEST_F(RoutingTest, NamesAreExactAndHandlesCountInOrderOfCreation)
{
    CountedPtr<Logger> const logger = GetLoggerL();
    EXPECT_EQ(GetLogger("L", static_cast<QzSynch::EnumHvnLockStackCategory>(17)).get(), logger.get());
    EXPECT_NE(GetLogger("l", QzSynch::kLockStackCategoryDefault).get(), logger.get());
    EXPECT_STREQ(GetLogger(nullptr, QzSynch::kLockStackCategoryDefault)->GetName(), "");
    Logger::DispatcherCollection& dispatchers = *logger->GetDispatcherCollection();
    unsigned short handle = 0xDAFF;
    for (char const* const name : {"A", "a", "A "})
        EXPECT_EQ(dispatchers.GetDispatcherHandle(name), handle--);
    EXPECT_EQ(dispatchers.GetDispatcherHandle("A"), 0xDAFF);
    EXPECT_STREQ(dispatchers.GetDispatcher(0xDAFE)->GetName(), "a");
    for (unsigned short const foreign : std::initializer_list<unsigned short>{0xDAFC, 0x0000, 0x2500})
        EXPECT_THROW(dispatchers.GetDispatcher(foreign), QzBase::Message);
}

TEST_F(RoutingTest, RoutersFollowTheirDispatcherAlone)
{
    CountedPtr<Router> const first = MakeRouter("A");
    CountedPtr<Router> const second = MakeRouter("A");
    CountedPtr<Router> const other = MakeRouter("B");
    CountedPtr<Dispatcher> const dispatcher = first->GetDispatcher();
    EXPECT_FALSE(first->mEnabled);
    SetDestinations(*dispatcher, {mpDestination.get()});
    EXPECT_TRUE(first->mEnabled && second->mEnabled && !other->mEnabled);
    EXPECT_TRUE(MakeRouter("A")->mEnabled);
    dispatcher->SetDestinations(nullptr);
    EXPECT_FALSE(first->mEnabled || second->mEnabled);
}

TEST_F(RoutingTest, DeliversInListOrderOnTheListItBeganWith)
{
    CountedPtr<Router> const router = MakeRouter();
    CountedPtr<Dispatcher> const dispatcher = router->GetDispatcher();
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
    LogString(*router, "text", nullptr, nullptr, nullptr, 0);
    LogString(*router, "text", nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(order, "121x");
}

TEST_F(RoutingTest, AThrowingDestinationEndsItsMessageOnly)
{
    CountedPtr<Router> const router = MakeRouter();
    CountedPtr<RecordingDestination> const throwing(new RecordingDestination);
    throwing->mAction = [] { throw 7; };
    SetDestinations(*router->GetDispatcher(), {mpDestination.get(), throwing.get(), mpDestination.get()});
    QzBase::Message message(QzBase::MESSAGE_DOMAIN_SERVER, 9, "before");
    EXPECT_THROW(router->LogText("text", 0, nullptr, nullptr, 0), int);
    EXPECT_THROW(router->LogAndUpdateMessage(message), int);
    throwing->mAction = nullptr;
    router->LogBaseMessage(message);
    EXPECT_THAT(mpDestination->Texts(), ElementsAre("text", "before", "before", "before"));
    EXPECT_EQ(mpDestination->mRecords.back().mID, 9u);
}

TEST_F(RoutingTest, UpdatedMessagesBringTheirLocalisedTextsBack)
{
    Line const line;
    unsigned short const language = QzResource::GetProcessLanguageID();
    QzResource::RegisterMessageText(language, 77, 1, "local");
    QzBase::Message message(77, 1, "text");
    line.mpRouter->LogAndUpdateMessage(message);
    EXPECT_THAT(line.mpDestination->Texts(), ElementsAre("local"));
    EXPECT_STREQ(message.GetLocalizedText(0), "local");
}

TEST_F(RoutingTest, AListThatCannotBeTakenLeavesTheOldOne)
{
    Line const line;
    CountedPtr<Dispatcher> const dispatcher = line.mpRouter->GetDispatcher();
    CountedPtr<Listener> const listener(new Listener);
    line.mpRouter->GetLogger()->AddCallback(listener.get());
    EXPECT_THROW(SetDestinations(*dispatcher, {mpDestination.get(), nullptr}), QzBase::Message);
    EXPECT_TRUE(listener->mHandles.empty());
    LogString(*line.mpRouter, "text", nullptr, nullptr, nullptr, 0);
    EXPECT_THAT(line.mpDestination->Texts(), ElementsAre("text"));
}

TEST_F(RoutingTest, CallbacksAreASet)
{
    CountedPtr<Router> const router = MakeRouter();
    CountedPtr<Dispatcher> const dispatcher = router->GetDispatcher();
    Logger& logger = *router->GetLogger();
    CountedPtr<Listener> const listener(new Listener);
    listener->mAction = [&] { logger.RemoveCallback(listener.get()); };
    logger.AddCallback(listener.get());
    logger.AddCallback(listener.get());
    logger.AddCallback(nullptr);
    SetDestinations(*dispatcher, {});
    SetDestinations(*dispatcher, {});
    EXPECT_THAT(listener->mHandles, ElementsAre(0xDAFF));
}

TEST_F(RoutingTest, TheHeaderAsJsonNeedsNoDestinationAndDeliversNothing)
{
    CountedPtr<Router> const router = MakeRouter();
    std::string json;
    router->FormatHeaderJson(nullptr, 42, nullptr, nullptr, 0, json);
    for (char const* const part : {"\"logger\":\"L\"", "\"dispatcher\":\"D\"", "\"message_id\":\"0x0000002A\""})
        EXPECT_THAT(json, testing::HasSubstr(part));
}

TEST_F(RoutingTest, AHookCanExchangeWhatIsCreated)
{
    Hook& hook = InstallHook();
    hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&)
    {
        dispatcher = CreateDispatcher("other");
        SetDestinations(*dispatcher, {mpDestination.get()});
    };
    CountedPtr<Router> const router = MakeRouter("A");
    EXPECT_TRUE(router->mEnabled);
    EXPECT_STREQ(router->GetDispatcher()->GetName(), "other");
    EXPECT_EQ(GetLoggerL()->GetDispatcherCollection()->GetDispatcherHandle("A"), 0xDAFE);
    // Both are named "other" now, and each router follows its own.
    CountedPtr<Router> const second = MakeRouter("A");
    SetDestinations(*GetLoggerL()->GetDispatcherCollection()->GetDispatcher(0xDAFD), {});
    EXPECT_TRUE(router->mEnabled && !second->mEnabled);
}

TEST_F(RoutingTest, AHookThatFailsLeavesNothingBehind)
{
    Hook& hook = InstallHook();
    Logger::DispatcherCollection& dispatchers = *GetLoggerL()->GetDispatcherCollection();
    hook.mOnDispatcher = [](CountedPtr<Dispatcher>&, Logger&) { throw 7; };
    EXPECT_THROW(dispatchers.GetDispatcherHandle("A"), int);
    hook.mOnDispatcher = [](CountedPtr<Dispatcher>& dispatcher, Logger&) { dispatcher = nullptr; };
    EXPECT_THROW(dispatchers.GetDispatcherHandle("A"), QzBase::Message);
    hook.mOnDispatcher = nullptr;
    EXPECT_EQ(dispatchers.GetDispatcherHandle("A"), 0xDAFF);
    hook.mOnDispatcher = [](CountedPtr<Dispatcher>& dispatcher, Logger&) { dispatcher = nullptr; };
    EXPECT_THROW(RefreshConfiguration(), QzBase::Message);
    EXPECT_STREQ(dispatchers.GetDispatcher(0xDAFF)->GetName(), "A");
}

TEST_F(RoutingTest, OneNameHasOneHandleWhenTwoCreateItAtOnce)
{
    // The hook stands for the second thread: it asks for the name while the first one is creating it.
    for (bool const shares : {false, true})
    {
        SCOPED_TRACE(shares ? "both get one dispatcher" : "each has its own");
        Hook& hook = InstallHook();
        CountedPtr<Logger> const logger = GetLogger(shares ? "S" : "O", QzSynch::kLockStackCategoryDefault);
        CountedPtr<Dispatcher> const shared = CreateDispatcher("A");
        CountedPtr<Dispatcher> loser;
        bool isInside = false;
        hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&)
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
        CountedPtr<Listener> const listener(new Listener);
        logger->AddCallback(listener.get());
        SetDestinations(*loser, {});
        EXPECT_EQ(listener->mHandles.size(), shares ? 1u : 0u);
    }
}

TEST_F(RoutingTest, ARefreshExchangesDispatchersBehindTheirHandles)
{
    Hook& hook = InstallHook();
    CountedPtr<Dispatcher> const shared = CreateDispatcher("shared");
    hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&) { dispatcher = shared; };
    CountedPtr<Router> const first = MakeRouter("A");
    CountedPtr<Router> const second = MakeRouter("B");
    SetDestinations(*shared, {mpDestination.get()});
    EXPECT_TRUE(first->mEnabled && second->mEnabled);

    // One of the two places gets another dispatcher; the other one goes on following the shared one.
    CountedPtr<Dispatcher> const replacement = CreateDispatcher("replacement");
    int offered = 0;
    hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&)
    {
        if (++offered == 1)
            dispatcher = replacement;
    };
    RefreshConfiguration();
    EXPECT_EQ(offered, 2);
    EXPECT_TRUE(!first->mEnabled && second->mEnabled);
    SetDestinations(*shared, {});
    EXPECT_FALSE(second->mEnabled);
    SetDestinations(*replacement, {mpDestination.get()});
    LogString(*first, "text", nullptr, nullptr, nullptr, 0);
    ASSERT_EQ(mpDestination->mRecords.size(), 1u);
    EXPECT_EQ(mpDestination->mRecords.front().mDispatcher, "replacement");

    // Once it stands nowhere, nobody hears of it any more.
    hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger&) { dispatcher = replacement; };
    RefreshConfiguration();
    CountedPtr<Listener> const listener(new Listener);
    first->GetLogger()->AddCallback(listener.get());
    SetDestinations(*shared, {mpDestination.get()});
    EXPECT_TRUE(listener->mHandles.empty());
}

TEST_F(RoutingTest, UsersObjectsEndWithNoLockHeld)
{
    // Each destructor asks what it is being taken out of, which would wait for ever under that lock.
    CountedPtr<Router> const router = MakeRouter();
    CountedPtr<Dispatcher> const dispatcher = router->GetDispatcher();
    Logger& logger = *router->GetLogger();
    std::string ended;
    CountedPtr<Catalog> catalog(new Catalog);
    catalog->mAtEnd = [&] { ended += logger.GetMessageCatalog() ? '?' : 'c'; };
    logger.SetMessageCatalog(catalog.get());
    catalog = nullptr;
    logger.SetMessageCatalog(nullptr);

    InstallHook().mAtEnd = [&] { ended += GetConfigurationHook() ? '?' : 'h'; };
    SetConfigurationHook(nullptr);

    CountedPtr<RecordingDestination> destination(new RecordingDestination);
    destination->mAtEnd = [&] { ended += dispatcher->HasDestinations() ? '?' : 'd'; };
    SetDestinations(*dispatcher, {destination.get()});
    destination = nullptr;
    SetDestinations(*dispatcher, {});
    EXPECT_EQ(ended, "chd");
}

TEST_F(RoutingTest, ALoggerThatEndsLeavesItsDispatchersInPeace)
{
    CountedPtr<Dispatcher> const dispatcher = CreateDispatcher("kept");
    {
        Hook& hook = InstallHook();
        hook.mOnLogger = [&](Logger& logger)
        {
            hook.mOnDispatcher = [&](CountedPtr<Dispatcher>& created, Logger&) { created = dispatcher; };
            logger.GetDispatcherCollection()->GetDispatcherHandle("A");
            throw 7; // so that the logger is dropped again
        };
        EXPECT_THROW(GetLoggerL(), int);
    }
    SetDestinations(*dispatcher, {mpDestination.get()});
    SetConfigurationHook(nullptr);
    EXPECT_FALSE(MakeRouter()->mEnabled);
}
