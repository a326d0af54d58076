// Unit tests that assert what the tested code logs: a LogCapture gets what all routers write, and the kit has matchers
// for GoogleTest.

#include <QzLog/QzLog.h>
#include <QzLogKit/LogCapture.h>
#include <QzLogKit/LoggerHandle.h>
#include <QzLogKit/Matchers.h>

#include <gtest/gtest.h>

#include <string>

using namespace QzLogKit;
using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
    constinit LoggerHandle<"Error"> gOrders("Orders");

    /// The code under test.
    bool AcceptOrder(std::string const& customer, int pieces)
    {
        constexpr int kMost = 100;
        if (pieces <= kMost)
            return true;
        QzLog::Log(
            gOrders.To<"Error">(), "An order of %1 for %2 pieces is refused: %3 are allowed.", customer, pieces, kMost);
        return false;
    }
}

TEST(Orders, SmallOnesAreSilent)
{
    LogCapture log;
    EXPECT_TRUE(AcceptOrder("alice", 100));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(Orders, RefusalsAreLogged)
{
    LogCapture log;
    EXPECT_FALSE(AcceptOrder("bob", 101));
    EXPECT_THAT(log.Take(), ElementsAre(AllOf(DispatcherIs("Error"),
                                TextIs("An order of bob for 101 pieces is refused: 100 are allowed."))));
}
