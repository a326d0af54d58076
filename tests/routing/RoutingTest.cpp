#include "routing/CallPath.h"

#include <gmock/gmock.h>

using namespace CallPath;
using testing::ElementsAre;

namespace
{
    struct RoutingTest : testing::Test, Module
    {
        Logger& mLogger = *mRouter.GetLogger();
        Logger::DispatcherCollection& mDispatchers = *mLogger.GetDispatcherCollection();
        DispatcherPtr const mpDispatcher = mRouter.GetDispatcher();
        CountedPtr<Listener> const mpListener{new Listener};
    };
}

TEST_F(RoutingTest, NamesAreExactAndHandlesCountInOrderOfCreation)
{
    EXPECT_EQ(GetLogger("L", static_cast<QzSynch::EnumHvnLockStackCategory>(17)).get(), &mLogger);
    EXPECT_NE(CallPath::GetLogger("l").get(), &mLogger);
    EXPECT_STREQ(CallPath::GetLogger(nullptr)->GetName(), "");
    unsigned short handle = 0xDAFF;
    for (char const* const name : {"D", "d", "D "})
        EXPECT_EQ(mDispatchers.GetDispatcherHandle(name), handle--);
    EXPECT_EQ(mDispatchers.GetDispatcherHandle("D"), 0xDAFF);
    EXPECT_STREQ(mDispatchers.GetDispatcher(0xDAFE)->GetName(), "d");
    EXPECT_THROW(mDispatchers.GetDispatcher(0xDAFC), QzBase::Message);
    EXPECT_THROW(mLogger.LogText(0, "text", 0, nullptr, nullptr, 0), QzBase::Message);
}

TEST_F(RoutingTest, DeliversInListOrderOnTheListItBeganWith)
{
    std::string order;
    CountedPtr<RecordingDestination> first(new RecordingDestination);
    first->mAction = [&]
    {
        order += '1';
        SetDestinations(*mpDispatcher, {});
    };
    first->mAtEnd = [&] { order += mpDispatcher->HasDestinations() ? '?' : 'x'; };
    mDestination.mAction = [&] { order += '2'; };
    SetDestinations(*mpDispatcher, {first.get(), &mDestination, first.get()});
    EXPECT_THROW(SetDestinations(*mpDispatcher, {&mDestination, nullptr}), QzBase::Message);
    first = nullptr;
    Log(mRouter);
    Log(mRouter);
    EXPECT_EQ(order, "121x");

    // Also when the dispatcher itself goes meanwhile.
    DispatcherPtr dispatcher(CreateDispatcher("alone"));
    first = new RecordingDestination;
    first->mAction = [&]
    {
        order += '3';
        dispatcher = nullptr;
    };
    first->mAtEnd = [&] { order += 'x'; };
    SetDestinations(*dispatcher, {first.get(), &mDestination});
    first = nullptr;
    dispatcher->LogText(mLogger, "text", 0, nullptr, nullptr, 0);
    EXPECT_EQ(order, "121x32x");
}

TEST_F(RoutingTest, StructuredMessagesComeBackWithTheirTexts)
{
    QzResource::RegisterMessageText(0, 77, 1, "local");
    QzBase::Message message(77, 1, "text");
    mDestination.mAction = [] { throw 7; };
    EXPECT_THROW(mRouter.LogAndUpdateMessage(message), int);
    EXPECT_EQ(message.GetLocalizedText(0), nullptr);
    mDestination.mAction = nullptr;
    mRouter.LogBaseMessage(message);
    mRouter.LogAndUpdateMessage(message);
    EXPECT_STREQ(message.GetLocalizedText(0), "local");
    EXPECT_EQ(mDestination.mRecords.back().mID, 1u);
    EXPECT_EQ(mDestination.mRecords.back().mPlace, "::0");
    EXPECT_EQ(mDestination.TakeTexts(), "local local ");
}

TEST_F(RoutingTest, CallbacksAreASetThatMayChangeMeanwhile)
{
    std::vector<CountedPtr<Router>> routers;
    for (int i = 0; i < 8; ++i)
        routers.push_back(MakeRouter());
    // Some of the routers' own callbacks are called after this one, and find the routers destroyed.
    mpListener->mAction = [&]
    {
        routers.clear();
        mLogger.RemoveCallback(mpListener.get());
    };
    for (Listener* const listener : {mpListener.get(), mpListener.get(), static_cast<Listener*>(nullptr)})
        mLogger.AddCallback(listener);
    for (int i = 0; i < 2; ++i)
        SetDestinations(*mpDispatcher, {&mDestination});
    EXPECT_THAT(mpListener->mHandles, ElementsAre(0xDAFF));
}

TEST_F(RoutingTest, AHookThatFailsLeavesNothingBehind)
{
    Hook& hook = InstallHook();
    auto const takeAway = [](DispatcherPtr& dispatcher) { dispatcher = nullptr; };
    hook.mOnDispatcher = [](DispatcherPtr&) { throw 7; };
    EXPECT_THROW(MakeRouter("A"), int);
    hook.mOnDispatcher = takeAway;
    EXPECT_THROW(MakeRouter("A"), QzBase::Message);
    EXPECT_THROW(RefreshConfiguration(), QzBase::Message);
    EXPECT_STREQ(mDispatchers.GetDispatcher(0xDAFF)->GetName(), "D");
    hook.mOnDispatcher = [](DispatcherPtr&) {};
    EXPECT_EQ(mDispatchers.GetDispatcherHandle("A"), 0xDAFE);

    // A logger that is dropped leaves the dispatcher that it got in peace.
    DispatcherPtr const kept = CreateDispatcher("kept");
    hook.mOnDispatcher = [&](DispatcherPtr& dispatcher) { dispatcher = kept; };
    hook.mOnLogger = [](Logger& logger)
    {
        logger.GetDispatcherCollection()->GetDispatcherHandle("A");
        throw 7;
    };
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(CallPath::GetLogger("dropped"), int);
    SetDestinations(*kept, {mpDestination.get()});
}

TEST_F(RoutingTest, OneNameIsOneObjectWhenTwoCreateItAtOnce)
{
    // The hook stands for the second thread: it asks for the name while the first one is creating it.
    Hook& hook = InstallHook();
    for (char const* const name : {"own", "shared"})
    {
        SCOPED_TRACE(name);
        CountedPtr<Logger> inner;
        hook.mOnLogger = [&, isInside = false](Logger&) mutable
        {
            if (!std::exchange(isInside, true))
                inner = CallPath::GetLogger(name);
        };
        CountedPtr<Logger> const logger = CallPath::GetLogger(name);
        EXPECT_EQ(logger.get(), inner.get());

        DispatcherPtr const shared = CreateDispatcher(name);
        DispatcherPtr loser;
        hook.mOnDispatcher = [&, isShared = *name == 's', isInside = false](DispatcherPtr& dispatcher) mutable
        {
            if (isShared)
                dispatcher = shared;
            if (std::exchange(isInside, true))
                return;
            loser = dispatcher;
            EXPECT_EQ(logger->GetDispatcherCollection()->GetDispatcherHandle(name), 0xDAFF);
        };
        EXPECT_EQ(logger->GetDispatcherCollection()->GetDispatcherHandle(name), 0xDAFF);
        EXPECT_THROW(logger->GetDispatcherCollection()->GetDispatcher(0xDAFE), QzBase::Message);
        logger->AddCallback(mpListener.get());
        SetDestinations(*loser, {});
    }
    EXPECT_THAT(mpListener->mHandles, ElementsAre(0xDAFF)); // of the shared one
}

TEST_F(RoutingTest, UsersObjectsEndWithNoLockHeld)
{
    // Each destructor asks what it is being taken out of, which would wait for ever under that lock.
    std::string ended;
    InstallHook().mAtEnd = [&] { ended += GetConfigurationHook() ? '?' : 'h'; };
    SetConfigurationHook(nullptr);

    auto* const destination = new RecordingDestination;
    destination->mAtEnd = [&] { ended += mpDispatcher->HasDestinations() ? '?' : 'd'; };
    SetDestinations(*mpDispatcher, {destination});
    SetDestinations(*mpDispatcher, {});

    auto* const listener = new Listener;
    listener->mAtEnd = [&] { ended += mLogger.GetMessageCatalog() ? '?' : 'l'; };
    mLogger.AddCallback(listener);
    mLogger.RemoveCallback(listener);
    EXPECT_EQ(ended, "hdl");
}
