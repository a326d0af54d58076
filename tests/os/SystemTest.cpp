#include "os/System.h"
#include "os/Calls.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
    using namespace QzOs;

    std::uint32_t AsNumber(pid_t id)
    {
        return static_cast<std::uint32_t>(id);
    }

    /// Bits that tell what is wrong with the identity that the library sees.
    int CheckIdentity(std::uint32_t generation)
    {
        return (GetProcessID() == AsNumber(getpid()) ? 0 : 1) | (GetThreadID() == AsNumber(gettid()) ? 0 : 2) |
               (GetForkGeneration() == generation ? 0 : 4);
    }

    int WaitFor(pid_t child)
    {
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    TEST(SystemTest, ForkedChildrenKnowThemselves)
    {
        std::uint32_t const generation = GetForkGeneration();
        ASSERT_EQ(CheckIdentity(generation), 0);
        pid_t const child = fork();
        if (child == 0)
        {
            int result = CheckIdentity(generation + 1);
            pid_t const grandchild = fork();
            if (grandchild == 0)
                _exit(CheckIdentity(generation + 2));
            result |= WaitFor(grandchild) << 3;
            _exit(result);
        }
        EXPECT_EQ(WaitFor(child), 0);
        EXPECT_EQ(CheckIdentity(generation), 0);
    }

    TEST(SystemTest, EachThreadHasItsNumber)
    {
        std::uint32_t const own = GetThreadID();
        std::uint32_t other = own;
        std::thread([&] { other = CheckIdentity(GetForkGeneration()) == 0 ? GetThreadID() : own; }).join();
        EXPECT_NE(other, own);
        EXPECT_EQ(GetThreadID(), own);
    }

    TEST(SystemTest, ErrorsHaveTexts)
    {
        EXPECT_EQ(DescribeError(2), "No such file or directory");
        EXPECT_EQ(DescribeError(99'999), "Unknown error 99999");
    }

    TEST(SystemTest, SleepLastsAtLeastItsTime)
    {
        std::int64_t const start = gCalls.mpGetMonotonicNanoseconds();
        gCalls.mpSleep(0);
        gCalls.mpSleep(3);
        EXPECT_GE(gCalls.mpGetMonotonicNanoseconds() - start, 3'000'000);
    }

    TEST(SystemTest, IdentifiersAreRandomOnes)
    {
        unsigned char first[16];
        unsigned char second[16];
        MakeUniqueIdentifier(first);
        MakeUniqueIdentifier(second);
        EXPECT_FALSE(std::equal(first, first + 16, second));
        EXPECT_EQ(first[6] >> 4, 4);
    }
}
