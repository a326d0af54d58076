#include "os/System.h"

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
        std::thread([&] { EXPECT_EQ(CheckIdentity(generation), 0); }).join();
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

    TEST(SystemTest, ErrorsHaveTexts)
    {
        EXPECT_EQ(DescribeError(2), "No such file or directory");
        EXPECT_EQ(DescribeError(99'999), "Unknown error 99999");
    }
}
