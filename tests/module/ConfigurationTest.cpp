#include "routing/Road.h"

#include <gtest/gtest.h>

#include <utility>

using namespace Road;

TEST(ConfigurationTest, ARefreshOffersEverythingInOrder)
{
    Initializer const initializer;
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
    EXPECT_EQ(std::exchange(offered, ""), "K ");
    SetConfigurationHook(hook.get());
    hook = nullptr;
    RefreshConfiguration();
    EXPECT_EQ(offered, "K D M D1 D2 ");
}

TEST(ConfigurationTest, ALoggerStandsOnceItsHookHasReturned)
{
    Initializer const initializer;
    Hook& hook = InstallHook();
    hook.mOnLogger = [](Logger&) { throw 7; };
    EXPECT_THROW(MakeRouter(), int);
    // Another thread, for which the hook stands here, creates it first.
    CountedPtr<Logger> first;
    hook.mOnLogger = [&, isInside = false](Logger&) mutable
    {
        if (!std::exchange(isInside, true))
            first = Road::GetLogger();
    };
    CountedPtr<Logger> const second = Road::GetLogger();
    EXPECT_EQ(second.get(), first.get());
    hook.mOnDispatcher = [](DispatcherPtr&) { throw 7; };
    EXPECT_THROW(MakeRouter(), int);
}
