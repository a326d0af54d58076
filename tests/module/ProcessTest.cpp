#include "module/ModuleAccess.h"
#include "routing/Road.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <optional>
#include <thread>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Road;

namespace
{
    /// What a forked child that runs `body` exits with.
    template <class Body>
    int RunInChild(Body body)
    {
        pid_t const child = fork();
        if (child == 0)
            _exit(body());
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return status;
    }
}

TEST(ProcessTest, AForkedChildLogsAsItself)
{
    Initializer const initializer;
    Line const line;
    std::string json;
    line.mpRouter->FormatHeaderJson(nullptr, 0, nullptr, nullptr, 0, json);
    int const status = RunInChild(
        [&]
        {
            line.mpRouter->FormatHeaderJson(nullptr, 0, nullptr, nullptr, 0, json);
            std::string const own = "\"" + std::to_string(getpid()) + "\"";
            bool const both = json.find("\"pid\":" + own) != json.npos && json.find("\"thr\":" + own) != json.npos;
            return both ? 0 : 1;
        });
    EXPECT_EQ(status, 0);
}

TEST(ProcessTest, TheModuleEndsInAChildWhoseParentIsLogging)
{
    std::optional<Initializer> initializer(std::in_place);
    Line const line;
    std::latch inside(1);
    std::latch leave(1);
    line.mpDestination->mAction = [&]
    {
        inside.count_down();
        leave.wait();
    };
    std::thread logging([&] { LogString(*line.mpRouter, "text", nullptr, nullptr, nullptr, 0); });
    inside.wait();
    int const status = RunInChild(
        [&]
        {
            initializer.reset();
            return ModulePin() ? 1 : 0;
        });
    EXPECT_EQ(status, 0);
    leave.count_down();
    logging.join();
}

TEST(ProcessTest, AChildInheritsNoLockOfTheOtherThreads)
{
    Initializer const initializer;
    Line const line;
    CountedPtr<Dispatcher> const dispatcher = line.mpRouter->GetDispatcher();
    std::atomic<bool> stop{false};
    std::thread logging(
        [&]
        {
            while (!stop)
            {
                LogString(*line.mpRouter, "text", nullptr, nullptr, nullptr, 0);
                std::lock_guard const hold(line.mpDestination->mLock);
                line.mpDestination->mRecords.clear();
            }
        });
    std::thread configuring(
        [&]
        {
            while (!stop)
            {
                SetDestinations(*dispatcher, {line.mpDestination.get()});
                MakeRouter("E");
                SetServerInstanceName(u"server"_w);
            }
        });
    for (int round = 0; round < 30; ++round)
    {
        int const status = RunInChild(
            [&]
            {
                alarm(60);
                SetServerInstanceName(u"child"_w);
                CountedPtr<RecordingDestination> const own(new RecordingDestination);
                SetDestinations(*MakeRouter("E")->GetDispatcher(), {own.get()});
                SetDestinations(*dispatcher, {own.get()});
                LogString(*line.mpRouter, "text", nullptr, nullptr, nullptr, 0);
                return own->mRecords.size() == 1 && line.mpRouter->mEnabled ? 0 : 1;
            });
        ASSERT_EQ(status, 0) << "round " << round;
    }
    stop = true;
    logging.join();
    configuring.join();
}

TEST(ProcessTest, ACancelledThreadLeavesAScopeGuardFirst)
{
    Initializer const initializer;
    Line const line;
    line.mpDestination->mAction = []
    {
        pthread_cancel(pthread_self());
        pthread_testcancel();
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* router) -> void*
                  {
                      {
                          ScopeGuard const guard(*static_cast<Router*>(router), "S", "f", 1);
                      }
                      pthread_testcancel();
                      return nullptr;
                  },
                  line.mpRouter.get()),
        0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(line.mpDestination->mRecords.size(), 2u);
}

namespace
{
    struct LateLogger
    {
        ~LateLogger() { LogString(*mpRouter, "late", nullptr, nullptr, nullptr, 0); }
        CountedPtr<Router> mpRouter;
    };
}

TEST(ProcessTest, ThreadsMayLogInTheLastPhasesOfTheirEnd)
{
    Initializer const initializer;
    Line const line;
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, [](void* router)
                  { LogString(*static_cast<Router*>(router), "later", nullptr, nullptr, nullptr, 0); }),
        0);
    std::thread(
        [&]
        {
            pthread_setspecific(key, line.mpRouter.get());
            thread_local LateLogger late;
            late.mpRouter = line.mpRouter;
        })
        .join();
    pthread_key_delete(key);
    EXPECT_EQ(line.mpDestination->Texts(), (std::vector<std::string>{"late", "later"}));
}
