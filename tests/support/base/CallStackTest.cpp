#include "support/base/FrameNames.h"

#include <QzBase/CallStack.h>
#include <QzBase/Conversions.h>

#include <gmock/gmock.h>

#include <atomic>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
    using namespace QzBase;
    using testing::Contains;
    using testing::ContainsRegex;

    thread_local int tRecordLine = 0;
    thread_local int tCallLine = 0;

    // The statements behind the calls keep them from becoming jumps.
    __attribute__((noinline)) CallStack* RecordHere()
    {
        tRecordLine = __LINE__ + 1;
        CallStack* const stack = CreateCallStack(nullptr);
        asm volatile("");
        return stack;
    }

    template <class T>
    __attribute__((noinline)) CallStack* CallRecorder(T)
    {
        tCallLine = __LINE__ + 1;
        CallStack* const stack = RecordHere();
        asm volatile("");
        return stack;
    }

    std::string DescriptionOf(CallStack const& stack, unsigned int index)
    {
        return WideCharToUTF8(stack.GetFrame(index).GetDescription(), true).c_str();
    }

    TEST(CallStackTest, FrameZeroIsTheCallerWithItsPlace)
    {
        CallStack* const stack = CallRecorder(1);
        std::vector<std::string> descriptions;
        for (unsigned int i = 0; i < stack->GetFrameCount(); ++i)
            descriptions.push_back(DescriptionOf(*stack, i));
        stack->Destroy();
        ASSERT_GT(descriptions.size(), 3u);
        EXPECT_THAT(descriptions[0],
            ContainsRegex("::RecordHere\\(\\) at .*CallStackTest\\.cpp:" + std::to_string(tRecordLine) + "$"));
        EXPECT_THAT(descriptions[1], ContainsRegex("::CallRecorder<int>\\(int\\).* at .*CallStackTest\\.cpp:" +
                                                   std::to_string(tCallLine) + "$"));
        EXPECT_THAT(descriptions[2], ContainsRegex("FrameZero.*::TestBody\\(\\) at .*CallStackTest\\.cpp"));
        // What has no debug information shows its module.
        EXPECT_THAT(descriptions, Contains(ContainsRegex("libc")));
        EXPECT_EQ(DescribeFrame(16), "0x10");
    }

    TEST(CallStackTest, ThreadsAndForkedChildrenFindNames)
    {
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i)
            threads.emplace_back(
                [&stop]
                {
                    do
                    {
                        CallStack* const stack = RecordHere();
                        EXPECT_THAT(DescriptionOf(*stack, 0), ContainsRegex("RecordHere"));
                        stack->Destroy();
                    } while (!stop);
                });
        for (int i = 0; i < 20; ++i)
        {
            pid_t const child = fork();
            if (child == 0)
            {
                CallStack* const stack = RecordHere();
                _exit(DescriptionOf(*stack, 0).find("RecordHere") == std::string::npos ? 1 : 0);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
    }
}
