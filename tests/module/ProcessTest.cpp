#include "module/ModuleAccess.h"
#include "routing/Road.h"
#include "support/ForkedChild.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include <pthread.h>

using namespace Road;

namespace
{
    struct ProcessTest : testing::Test, Module
    {
    };
}

TEST_F(ProcessTest, AForkedChildLogsAsItself)
{
    std::string json;
    mRouter.FormatHeaderJson(nullptr, 42, nullptr, nullptr, 0, json);
    EXPECT_NE(json.find("\"message_id\":\"0x0000002A\""), json.npos);
    ExpectInChild(
        [&]
        {
            mRouter.FormatHeaderJson(nullptr, 0, nullptr, nullptr, 0, json);
            std::string const own = ":\"" + std::to_string(getpid()) + "\"";
            return json.find("\"pid\"" + own) != json.npos && json.find("\"thr\"" + own) != json.npos;
        });
}

TEST_F(ProcessTest, TheModuleEndsInAChildWhoseParentIsLogging)
{
    std::latch inside(1);
    std::latch leave(1);
    mDestination.mAction = [&]
    {
        inside.count_down();
        leave.wait();
    };
    std::thread logging([&] { Log(mRouter); });
    inside.wait();
    ExpectInChild(
        [&]
        {
            mInitializer.reset();
            return !ModulePin();
        });
    leave.count_down();
    logging.join();
}

TEST_F(ProcessTest, AChildInheritsNoLockOfTheOtherThreads)
{
    DispatcherPtr const dispatcher = mRouter.GetDispatcher();
    mDestination.mForgets = true;
    ExpectInChildrenOfBusyParent(
        30,
        [&]
        {
            for (int i = 0; i < 20; ++i)
                Log(mRouter);
            SetDestinations(*dispatcher, {&mDestination});
            MakeRouter("E");
            SetServerInstanceName(u"server"_w);
        },
        [&]
        {
            CountedPtr<RecordingDestination> const own(new RecordingDestination);
            SetServerInstanceName(u"child"_w);
            SetDestinations(*MakeRouter("E")->GetDispatcher(), {own.get()});
            SetDestinations(*dispatcher, {own.get()});
            Log(mRouter);
            return own->TakeTexts() == "text " && mRouter.mEnabled;
        });
}

TEST_F(ProcessTest, ACancelledThreadLeavesAScopeGuardFirst)
{
    mDestination.mAction = []
    {
        pthread_cancel(pthread_self());
        pthread_testcancel();
    };
    auto const log = [](void* router) -> void*
    {
        {
            ScopeGuard const guard(*static_cast<Router*>(router), "S", "f", 1);
        }
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, log, &mRouter), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(mDestination.TakeTexts(), "Enter 'S' near f(1) Leave 'S' near f(1) ");
}

TEST_F(ProcessTest, ThreadsMayLogInTheLastPhasesOfTheirEnd)
{
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void* router) { Log(*static_cast<Router*>(router), "later"); }), 0);
    std::thread(
        [&]
        {
            pthread_setspecific(key, &mRouter);
            thread_local AtEnd late;
            late = [&] { Log(mRouter, "late"); };
        })
        .join();
    pthread_key_delete(key);
    EXPECT_EQ(mDestination.TakeTexts(), "late later ");
}
