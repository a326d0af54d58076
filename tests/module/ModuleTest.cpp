#include "module/ModuleAccess.h"
#include "module/ModuleMain.h"
#include "routing/Road.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <optional>
#include <thread>

using namespace Road;
using testing::ElementsAre;

namespace
{
    bool ModuleIsLive()
    {
        return static_cast<bool>(ModulePin());
    }

    void WaitUntil(std::function<bool()> const& isTrue)
    {
        while (!isTrue())
            std::this_thread::yield();
    }

    void Log(Router& router, char const* text = "text")
    {
        LogString(router, text, nullptr, nullptr, nullptr, 0);
    }
}

TEST(ModuleTest, LivesWhileAnyInitializerDoes)
{
    EXPECT_FALSE(ModuleIsLive());
    std::optional<Initializer> first(std::in_place);
    std::optional<Initializer> copy(*first);
    CountedPtr<Logger> const logger = GetLogger("L", QzSynch::kLockStackCategoryDefault);
    first.reset();
    EXPECT_EQ(GetLogger("L", QzSynch::kLockStackCategoryDefault).get(), logger.get());
    copy.reset();
    EXPECT_FALSE(ModuleIsLive());
    Initializer const again;
    EXPECT_NE(GetLogger("L", QzSynch::kLockStackCategoryDefault).get(), logger.get());
    EXPECT_EQ(GetServerInstanceName().size(), 0u);
}

TEST(ModuleTest, FunctionsWithoutAModuleThrow)
{
    void (*const functions[])() = {[] { GetLogger("L", QzSynch::kLockStackCategoryDefault); }, [] { MakeRouter(); },
        [] { SetConfigurationHook(nullptr); }, [] { GetConfigurationHook(); }, [] { RefreshConfiguration(); },
        [] { GetServerInstanceName(); }, [] { SetServerInstanceName(nullptr); }, [] { GetEpisodeNumber(); },
        [] { SetEpisodeNumber(1); }, [] { SetUserIDToThreadContext(nullptr); },
        [] { SetSessionIDToThreadContext(nullptr); }, [] { SetObjectIDToThreadContext(nullptr); },
        [] { GetObjectIDFromThreadContext(); }, [] { SetParentThreadIDToThreadContext(1); },
        [] { GetThreadSpecificLogInfo(); }, [] { SetThreadSpecificLogInfo({}); }, [] { ClearThreadSpecificLogInfo(); },
        [] { GetDestination_DebugOutput(); }, [] { GetDestination_SystemLog(); }};
    for (auto const function : functions)
        EXPECT_THROW(function(), QzBase::Message);
}

TEST(ModuleTest, ObjectsThatOutliveItDoNothing)
{
    std::optional<Initializer> initializer(std::in_place);
    Line const line;
    ThreadSpecificLogInfo info;
    {
        ScopeGuard const guard(*line.mpRouter, "S", "f", 1);
        ThreadSpecificLogInfoSwitchGuard const identity(&info);
        initializer.reset();
        QzBase::Message message(1, 2, "text");
        std::string json("kept");
        Log(*line.mpRouter);
        LogMessage(*line.mpRouter, 42u, GetMessageFormatter(), nullptr, nullptr, nullptr, 0);
        EXPECT_THROW(LogStringAndThrowBaseException(*line.mpRouter, "text", nullptr), QzBase::Message);
        line.mpRouter->LogAndUpdateMessage(message);
        line.mpRouter->FormatHeaderJson("text", 0, nullptr, nullptr, 0, json);
        EXPECT_EQ(json, "kept");
        SetDestinations(*line.mpRouter->GetDispatcher(), {});
        EXPECT_FALSE(line.mpRouter->mEnabled);
        Logger::DispatcherCollection& dispatchers = *line.mpRouter->GetLogger()->GetDispatcherCollection();
        EXPECT_EQ(dispatchers.GetDispatcherHandle("D"), 0xDAFF);
        EXPECT_THROW(dispatchers.GetDispatcherHandle("new"), QzBase::Message);
    }
    EXPECT_THAT(line.mpDestination->Texts(), ElementsAre("Enter 'S' near f(1)"));
}

TEST(ModuleTest, ItsEndWaitsForTheCallsInFlight)
{
    std::optional<Initializer> initializer(std::in_place);
    Line const line;
    std::latch inside(1);
    std::latch leave(1);
    line.mpDestination->mAction = [&]
    {
        inside.count_down();
        leave.wait();
        // What the call began with is there to its end, also for nested calls.
        EXPECT_NO_THROW(SetEpisodeNumber(7));
        EXPECT_EQ(GetEpisodeNumber(), 7u);
    };
    std::thread logging([&] { Log(*line.mpRouter); });
    inside.wait();
    std::atomic<bool> hasEnded{false};
    std::thread ending(
        [&]
        {
            initializer.reset();
            hasEnded = true;
        });
    WaitUntil([] { return !ModuleIsLive(); });
    EXPECT_FALSE(hasEnded);
    leave.count_down();
    logging.join();
    ending.join();
    EXPECT_EQ(line.mpDestination->mRecords.size(), 1u);
}

TEST(ModuleTest, AnInitializerInACallInFlightKeepsIt)
{
    std::optional<Initializer> initializer(std::in_place);
    std::optional<Initializer> second;
    Line const line;
    Logger* const logger = line.mpRouter->GetLogger();
    std::latch inside(1);
    std::latch hidden(1);
    line.mpDestination->mAction = [&]
    {
        inside.count_down();
        hidden.wait();
        second.emplace();
    };
    std::thread logging([&] { Log(*line.mpRouter); });
    std::thread watching(
        [&]
        {
            WaitUntil([] { return !ModuleIsLive(); });
            hidden.count_down();
        });
    inside.wait();
    initializer.reset();
    logging.join();
    watching.join();
    EXPECT_EQ(GetLogger("L", QzSynch::kLockStackCategoryDefault).get(), logger);
}

TEST(ModuleTest, EndsBehindTheCallThatEndsIt)
{
    std::optional<Initializer> initializer(std::in_place);
    Line const line;
    CountedPtr<RecordingDestination> const next(new RecordingDestination);
    SetDestinations(*line.mpRouter->GetDispatcher(), {line.mpDestination.get(), next.get()});
    SetServerInstanceName(u"server"_w);
    line.mpDestination->mAction = [&] { initializer.reset(); };
    Log(*line.mpRouter);
    EXPECT_FALSE(ModuleIsLive());
    ASSERT_EQ(next->mRecords.size(), 1u);
    EXPECT_EQ(next->mRecords.front().mServer, "server");
}

TEST(ModuleTest, WhatEndsWithItMayLogAndFindNothing)
{
    std::optional<Initializer> initializer(std::in_place);
    Line line;
    int ended = 0;
    CountedPtr<Hook> hook(new Hook);
    hook->mAtEnd = [&]
    {
        Log(*line.mpRouter);
        EXPECT_THROW(GetConfigurationHook(), QzBase::Message);
        EXPECT_THROW(Initializer(), QzBase::Message);
        ++ended;
    };
    SetConfigurationHook(hook.get());
    hook = nullptr;
    initializer.reset();
    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(line.mpDestination->Texts().empty());
}

TEST(ModuleTest, ThreadsLogAcrossItsStartsAndEnds)
{
    // Threads end before, during and after the module; a context that is lost or deleted twice shows under the
    // address sanitizer, and a race under the thread sanitizer.
    std::optional<Initializer> initializer(std::in_place);
    Line const line;
    std::atomic<bool> stop{false};
    auto const log = [&] { Log(*line.mpRouter); };
    std::thread steady(
        [&]
        {
            while (!stop)
                log();
        });
    std::thread coming(
        [&]
        {
            while (!stop)
                std::thread(log).join();
        });
    for (int round = 0; round < 200; ++round)
    {
        initializer.reset();
        initializer.emplace();
        Initializer const nested;
        log();
    }
    stop = true;
    steady.join();
    coming.join();
    EXPECT_GE(line.mpDestination->mRecords.size(), 200u);
}

TEST(ModuleTest, TheInstanceNameShowsFromTheNextMessageOn)
{
    Initializer const initializer;
    Line const line;
    for (unsigned short const* const name : {u"one"_w, u"z\u00FC"_w, static_cast<unsigned short const*>(nullptr)})
    {
        SetServerInstanceName(name);
        std::thread([&] { Log(*line.mpRouter); }).join();
        Log(*line.mpRouter);
    }
    std::vector<std::string> servers;
    for (Record const& record : line.mpDestination->mRecords)
        servers.push_back(record.mServer);
    EXPECT_THAT(servers, ElementsAre("one", "one", "z\xC3\xBC", "z\xC3\xBC", "", ""));
}
