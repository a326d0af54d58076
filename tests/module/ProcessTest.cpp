#include "root/ModuleAccess.h"
#include "routing/CallPath.h"
#include "support/ForkedChild.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include <pthread.h>

using namespace CallPath;

namespace
{
    struct ProcessTest : testing::Test, Module
    {
    };
}

TEST_F(ProcessTest, EachThreadAndForkedChildLogsAsItself)
{
    SetDestinations(*mRouter.GetDispatcher(), {}); // a header needs none
    auto const isItself = [&]
    {
        std::string json;
        mRouter.FormatHeaderJson(nullptr, 42, nullptr, nullptr, 0, json);
        auto const has = [&](char const* name, auto value)
        { return json.find(name + (":\"" + std::to_string(value) + "\"")) != json.npos; };
        return json.find("\"message_id\":\"0x0000002A\"") != json.npos && has("\"pid\"", getpid()) &&
               has("\"thr\"", gettid());
    };
    EXPECT_TRUE(isItself());
    std::thread([&] { EXPECT_TRUE(isItself()); }).join();
    ExpectInChild(isItself);
}

TEST_F(ProcessTest, TheModuleServesAndEndsInAChildWhoseParentIsAtWork)
{
    std::latch inside(1);
    std::latch leave(1);
    mDestination.mAction = [&]
    {
        inside.count_down();
        leave.wait();
    };
    std::jthread const logging([&] { Log(mRouter); });
    inside.wait();
    // Another thread is making an Initializer, and has not counted it yet.
    gModuleInit.lockWord = ModuleInit::kHeld;
    ExpectInChild(
        [&]
        {
            bool const isLive(ModulePin{});
            mInitializer.reset();
            return isLive && !ModulePin();
        });
    gModuleInit.lockWord = 0;
    leave.count_down();
}

TEST_F(ProcessTest, ACancelledThreadLeavesAScopeGuardAndEndsTheModuleFirst)
{
    mDestination.mAction = []
    {
        pthread_cancel(pthread_self());
        pthread_testcancel();
    };
    InstallHook().mAtEnd = [] { pthread_testcancel(); };
    auto const work = [](void* test) -> void*
    {
        auto& self = *static_cast<ProcessTest*>(test);
        std::optional<ScopeGuard>(std::in_place, self.mRouter, "S", "f", 1).reset();
        self.mInitializer.reset();
        EXPECT_FALSE(ModulePin());
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, work, this), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(mDestination.TakeTexts(), "Enter 'S' near f(1) Leave 'S' near f(1) ");
}
