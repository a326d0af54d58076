#include "os/Fork.h"
#include "os/Restore.h"
#include "root/ModuleAccess.h"
#include "routing/CallPath.h"
#include "support/ForkedChild.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <latch>
#include <thread>

#include <pthread.h>

using namespace CallPath;

namespace
{
    struct ProcessTest : testing::Test, Module
    {
    };

    constinit std::function<void()>* gpHostsHandler = nullptr;

    // Before the library's, which are registered with the same priority but come later in the program.
    [[gnu::constructor(101)]] void RegisterHostsHandlers()
    {
        auto const call = []
        {
            if (gpHostsHandler)
                (*gpHostsHandler)();
        };
        pthread_atfork(call, call, call);
    }
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

TEST_F(ProcessTest, LogCallsInAHandlerOfTheHostDoNothingAmidAFork)
{
    static int gOutputs = 0;
    QzTest::Restore const restore;
    QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const*) { ++gOutputs; };
    QzOs::gCalls.mpReportEvent = [](void*, unsigned short, unsigned int, unsigned short const*) { ++gOutputs; };
    std::string const path = testing::TempDir() + "qzlog-amid-a-fork-" + std::to_string(getpid());
    CountedPtr<Destination> const destinations[] = {GetDestination_DebugOutput(), GetDestination_SystemLog(),
        GetDestination_DiskFile(QzBase::UTF8ToWideChar(path.c_str(), false).c_str())};
    CountedPtr<Catalog> const catalog(new Catalog);
    GetLogger()->SetMessageCatalog(catalog.get());
    CmdLogTrace trace;
    int calledAmid = 0;
    std::function<void()> handler = [&]
    {
        calledAmid += QzOs::IsForking();
        Log(mRouter);
        LogMessage(mRouter, 7, GetMessageFormatter() << "x", "context", nullptr, nullptr, 0);
        ScopeGuard const guard(mRouter, "S", "f", 1);
        QzBase::Message message(QzBase::MESSAGE_DOMAIN_UNKNOWN, 1, "m");
        mRouter.LogBaseMessage(message);
        mRouter.LogAndUpdateMessage(message);
        CountedPtr<MessageHeader> const header(CreateMessageHeader());
        for (CountedPtr<Destination> const& destination : destinations)
            destination->WriteMessage("direct", *header);
        GetDestination_DebugOutput()->WriteString("direct");
        trace.AddToLogTrace(1, 1, 1);
        trace.CollectLogTrace();
        SetDestinations(*MakeRouter("E")->GetDispatcher(), {});
    };
    gpHostsHandler = &handler;
    auto const isLeftAlone = [&](int amid)
    {
        gpHostsHandler = nullptr;
        return calledAmid == amid && gOutputs == 0 && mDestination.TakeTexts().empty() &&
               std::filesystem::file_size(path) == 0 && (Log(mRouter), mDestination.TakeTexts() == "text ");
    };
    ExpectInChild([&] { return isLeftAlone(2); });
    EXPECT_TRUE(isLeftAlone(2));
    std::filesystem::remove(path);
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
