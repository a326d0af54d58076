#include "routing/Road.h"

#include <gmock/gmock.h>

#include <utility>

using namespace Road;
using testing::ElementsAre;

TEST(ConfigurationTest, ARefreshOffersEverythingInOrder)
{
    Initializer const initializer;
    RefreshConfiguration();
    CountedPtr<Router> const early = MakeRouter("D1", "M");
    CountedPtr<Hook> hook(new Hook);
    std::vector<std::string> offered;
    hook->mOnLogger = [&](Logger& logger)
    {
        // Inside, this hook can even be replaced: the walk goes on with it.
        SetConfigurationHook(nullptr);
        offered.push_back(logger.GetName());
    };
    hook->mOnDispatcher = [&](CountedPtr<Dispatcher>& dispatcher, Logger& logger)
    {
        offered.push_back(std::string(logger.GetName()) + "/" + dispatcher->GetName());
        if (offered.back() == "M/D1")
            MakeRouter("D2", "M"); // comes in during the walk
    };
    SetConfigurationHook(hook.get());
    EXPECT_TRUE(offered.empty());
    MakeRouter("D", "K");
    EXPECT_THAT(offered, ElementsAre("K"));
    offered.clear();
    SetConfigurationHook(hook.get());
    hook = nullptr;
    RefreshConfiguration();
    EXPECT_THAT(offered, ElementsAre("K", "K/D", "M", "M/D1", "M/D2"));
    EXPECT_FALSE(GetConfigurationHook());
}

TEST(ConfigurationTest, AHookThatThrowsDropsTheLogger)
{
    Initializer const initializer;
    CountedPtr<Hook> const hook(new Hook);
    int calls = 0;
    hook->mOnLogger = [&](Logger&)
    {
        if (++calls == 1)
            throw 7;
    };
    SetConfigurationHook(hook.get());
    EXPECT_THROW(MakeRouter(), int);
    EXPECT_TRUE(MakeRouter());
    EXPECT_EQ(calls, 2);
    hook->mOnDispatcher = [](CountedPtr<Dispatcher>&, Logger&) { throw 7; };
    EXPECT_THROW(RefreshConfiguration(), int);
}

TEST(ConfigurationTest, TheLoggerThatWasFirstStands)
{
    Initializer const initializer;
    CountedPtr<Hook> const hook(new Hook);
    CountedPtr<Logger> first;
    bool isInside = false;
    hook->mOnLogger = [&](Logger&)
    {
        if (!std::exchange(isInside, true))
            first = GetLogger("L", QzSynch::kLockStackCategoryDefault);
    };
    SetConfigurationHook(hook.get());
    CountedPtr<Logger> const second = GetLogger("L", QzSynch::kLockStackCategoryDefault);
    EXPECT_EQ(second.get(), first.get());
}
