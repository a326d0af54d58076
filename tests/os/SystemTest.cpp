#include "os/System.h"
#include "os/Fork.h"
#include "support/ForkedChild.h"

namespace
{
    using namespace QzOs;

    bool KnowsItself(std::uint32_t generation)
    {
        return GetProcessID() == static_cast<std::uint32_t>(getpid()) &&
               GetThreadID() == static_cast<std::uint32_t>(gettid()) && GetForkGeneration() == generation;
    }

    TEST(SystemTest, ForkedChildrenKnowThemselves)
    {
        std::uint32_t const generation = GetForkGeneration();
        EXPECT_TRUE(KnowsItself(generation));
        std::thread([&] { EXPECT_TRUE(KnowsItself(generation)); }).join();
        ExpectInChild([&] { return KnowsItself(generation + 1); });
    }
}
