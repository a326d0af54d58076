#include "root/ModuleAccess.h"
#include "routing/CallPath.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <optional>
#include <thread>

using namespace CallPath;

namespace
{
    bool ModuleIsLive()
    {
        return static_cast<bool>(ModulePin());
    }

    struct ModuleTest : testing::Test, Module
    {
    };
}

TEST_F(ModuleTest, LivesWhileAnyInitializerDoes)
{
    std::optional<Initializer> copy(*mInitializer);
    mInitializer.reset();
    EXPECT_EQ(CallPath::GetLogger().get(), mRouter.GetLogger());
    copy.reset();
    void (*const functions[])() = {[] { MakeRouter(); }, [] { RefreshConfiguration(); }, [] { SetEpisodeNumber(1); },
        [] { SetUserIDToThreadContext(nullptr); }, [] { ClearThreadSpecificLogInfo(); },
        [] { GetDestination_SystemLog(); }};
    for (auto const function : functions)
        EXPECT_THROW(function(), QzBase::Message);
    Initializer const again;
    EXPECT_NE(CallPath::GetLogger().get(), mRouter.GetLogger());
}

TEST_F(ModuleTest, ARefreshOffersEverythingInOrder)
{
    RefreshConfiguration();
    CountedPtr<Router> const early = MakeRouter("D1", "M");
    CountedPtr<Hook> hook(&InstallHook());
    std::string offered;
    hook->mOnLogger = [&](Logger& logger)
    {
        // Inside, this hook can even be removed: the walk goes on with it.
        SetConfigurationHook(nullptr);
        offered += std::string(logger.GetName()) + " ";
    };
    hook->mOnDispatcher = [&](DispatcherPtr& dispatcher)
    {
        offered += std::string(dispatcher->GetName()) + " ";
        MakeRouter("D2", "M"); // comes in during the walk
    };
    MakeRouter("D", "K");
    SetConfigurationHook(hook.get());
    hook = nullptr;
    RefreshConfiguration();
    EXPECT_EQ(offered, "K K D L D M D1 D2 ");
}

TEST_F(ModuleTest, ObjectsThatOutliveItDoNothing)
{
    DispatcherPtr const dispatcher = mRouter.GetDispatcher();
    auto const useAll = [&]
    {
        QzBase::Message message(1, 2, "text");
        std::string json("kept");
        Log(mRouter);
        LogMessage(mRouter, 42u, GetMessageFormatter(), nullptr, nullptr, nullptr, 0);
        EXPECT_THROW(LogStringAndThrowBaseException(mRouter, "text", nullptr), QzBase::Message);
        mRouter.LogBaseMessage(message);
        mRouter.LogAndUpdateMessage(message);
        dispatcher->LogText(*mRouter.GetLogger(), "text", 0, nullptr, nullptr, 0);
        mRouter.FormatHeaderJson("text", 0, nullptr, nullptr, 0, json);
        EXPECT_EQ(json, "kept");
        Logger::DispatcherCollection& dispatchers = *mRouter.GetLogger()->GetDispatcherCollection();
        EXPECT_EQ(dispatchers.GetDispatcherHandle("D"), 0xDAFF);
        EXPECT_THROW(dispatchers.GetDispatcherHandle("new"), QzBase::Message);
    };
    {
        ScopeGuard const guard(mRouter, "S", "f", 1);
        ThreadSpecificLogInfoSwitchGuard const identity(nullptr);
        mInitializer.reset();
        useAll();
    }
    mInitializer.emplace();
    useAll();
    EXPECT_EQ(mDestination.TakeTexts(), "Enter 'S' near f(1) ");
    // The dispatcher belongs to no module: a logger of the new one may have it.
    InstallHook().mOnDispatcher = [&](DispatcherPtr& offered) { offered = dispatcher; };
    Log(*MakeRouter());
    EXPECT_EQ(mDestination.TakeTexts(), "text ");
    SetDestinations(*dispatcher, {});
    EXPECT_FALSE(mRouter.mEnabled);
}

TEST_F(ModuleTest, ItsEndWaitsForTheCallsInFlight)
{
    for (bool const isKept : {false, true})
    {
        SCOPED_TRACE(isKept ? "the call makes an Initializer" : "the call ends");
        std::optional<Initializer> kept;
        std::latch inside(1);
        std::latch hidden(1);
        mDestination.mAction = [&]
        {
            inside.count_down();
            hidden.wait();
            // What the call began with is there to its end, also for what it calls.
            EXPECT_NO_THROW(SetEpisodeNumber(7));
            if (isKept)
                kept.emplace();
        };
        // Its dispatcher of before may belong to a module that has ended.
        CountedPtr<Router> const router = MakeRouter();
        SetDestinations(*router->GetDispatcher(), {&mDestination});
        {
            std::jthread const logging([&] { Log(*router); });
            std::jthread const watching(
                [&]
                {
                    while (ModuleIsLive())
                        std::this_thread::yield();
                    hidden.count_down();
                });
            inside.wait();
            mInitializer.reset();
        }
        EXPECT_EQ(ModuleIsLive(), isKept);
        mInitializer.emplace();
        EXPECT_EQ(CallPath::GetLogger().get() == router->GetLogger(), isKept);
        EXPECT_EQ(mDestination.TakeTexts(), "text ");
    }
}

TEST_F(ModuleTest, EndsBehindTheCallThatEndsIt)
{
    CountedPtr<RecordingDestination> const next(new RecordingDestination);
    SetDestinations(*mRouter.GetDispatcher(), {&mDestination, next.get()});
    mDestination.mAction = [&] { mInitializer.reset(); };
    Log(mRouter);
    EXPECT_FALSE(ModuleIsLive());
    EXPECT_EQ(next->TakeTexts(), "text ");
}

TEST_F(ModuleTest, WhatEndsWithItMayLogAndFindsNothing)
{
    int ended = 0;
    InstallHook().mAtEnd = [&]
    {
        Log(mRouter);
        EXPECT_THROW(GetConfigurationHook(), QzBase::Message);
        EXPECT_THROW(Initializer const module, QzBase::Message);
        ++ended;
    };
    mInitializer.reset();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(mDestination.TakeTexts(), "");
}

TEST_F(ModuleTest, ThreadsLogAcrossItsStartsAndEnds)
{
    // Threads end before, during and after the module; a context that is lost or deleted twice shows under the
    // address sanitizer, and a race under the thread sanitizer. So many threads that some are always in a call: an
    // end waits for those that began before it, and for no others.
    mDestination.mForgets = true;
    std::vector<CountedPtr<Router>> routers{mpRouter};
    std::atomic<Router*> present = mpRouter.get();
    std::vector<std::jthread> threads(24);
    for (std::jthread& thread : threads)
        thread = std::jthread(
            [&, isFirst = &thread == threads.data()](std::stop_token const& stop)
            {
                for (; !stop.stop_requested(); Log(*present))
                    if (isFirst)
                        std::thread([&] { Log(*present); }).join();
            });
    for (int round = 0; round < 40; ++round)
    {
        mInitializer.reset();
        mInitializer.emplace();
        // Those of the module that has ended do nothing any more.
        Router& router = *routers.emplace_back(MakeRouter());
        SetDestinations(*router.GetDispatcher(), {&mDestination});
        present = &router;
        Log(router);
    }
}

TEST_F(ModuleTest, TheInstanceNameShowsFromTheNextMessageOn)
{
    std::string servers;
    for (unsigned short const* const name : {u"one"_w, u"z\u00FC"_w, static_cast<unsigned short const*>(nullptr)})
    {
        SetServerInstanceName(name);
        std::thread([&] { Log(mRouter); }).join();
        Log(mRouter);
    }
    for (Record const& record : mDestination.mRecords)
        servers += record.mServer + ",";
    EXPECT_EQ(servers, "one,one,z\xC3\xBC,z\xC3\xBC,,,");
}
