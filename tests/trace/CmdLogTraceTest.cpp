#include "trace/TraceTest.h"

#include <QzLog/CmdLogTrace.h>
#include <QzLog/ServerCommands.h>

#include <clocale>
#include <limits>

using namespace QzLog;

namespace
{
    constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
    constexpr int kLargestCount = std::numeric_limits<int>::max();

    struct CmdLogTraceTest : TraceTest
    {
        /// Ends the period and gives the lines of the closed ones.
        std::string CollectAndPrint() { return mTrace.CollectLogTrace(), Print(mTrace); }

        CmdLogTrace mTrace;
    };
}

TEST_F(CmdLogTraceTest, TakesValuesInAndMergesBuckets)
{
    struct
    {
        std::vector<std::int64_t> mAdded; // to the second bucket
        std::string mExpected;
        CmdTraceItem mFirst{}, mSecond{};
    } const rows[] = {{{7}, "1(0.00%)\t\t1:1(7/7/7)"}, {{1, 2, 2}, "3(0.00%)\t\t1:3(1/1/2)"},
        {{200000000}, "1(0.00%)\t\t1:1(100000000/200000000/200000000)"}, {{-3, -4}, "2(0.00%)\t\t1:2(-4/-3/0)"},
        {{kLargest, kLargest, kLargest}, "3(0.00%)\t\t1:3(100000000/9223372036854775807/9223372036854775807)"},
        {{kSmallest, kSmallest}, "2(0.00%)\t\t1:2(-9223372036854775808/-9223372036854775808/0)"},
        {{}, "4(0.00%)\t\t1:4(5/17/40)", {1, 1, 10, 10, 10}, {1, 3, 5, 20, 40}},
        // What callers may put in: nothing counted, a count that is full, one that undoes the other.
        {{}, "0(0.00%)\t\t0:0(3/0/0)", {1, 0, 3, 9, 0}, {}},
        {{}, "2147483647(0.00%)\t\t1:2147483647(0/9223372036854775807/9223372036854775807)",
            {1, kLargestCount, 0, kLargest, kLargest}, {1, kLargestCount, 0, kLargest, 0}},
        {{}, "0(0.00%)\t\t1:0(0/8/0)", {1, 2, 0, 8, 0}, {1, -2, 0, 5, 0}},
        {{}, "1(0.00%)\t\t1:1(0/9223372036854775807/0)", {1, 3, 0, kLargest, 0}, {1, -2, 0, -kLargest, 0}},
        {{5}, "2147483647(0.00%)\t\t1:2147483647(0/5/5)", {}, {1, kLargestCount, 0, 5, 5}}};
    for (auto const& [added, expected, first, second] : rows)
    {
        mTrace.GetCurItem(1)[1] = first;
        mTrace.GetCurItem(2)[1] = second;
        for (std::int64_t const value : added)
            mTrace.AddToLogTrace(2, 1, value);
        EXPECT_EQ("0/" + expected + "\t\n", CollectAndPrint());
    }
}

TEST_F(CmdLogTraceTest, PrintsClosedPeriods)
{
    // A language that writes "40,00"; where it is not installed this changes nothing.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ("", Print(mTrace));
    mTrace.CollectLogTrace();
    for (int const id : {92, 93, 93, 100, 108, 109, 0, 218, 219, -1})
        mTrace.AddToLogTrace(1, id, 5);
    mTrace.CollectLogTrace();
    for (int const id : {93, 4, 4})
        mTrace.AddToLogTrace(1, id, 6);
    mTrace.CollectLogTrace();
    mTrace.AddToLogTrace(1, 1, 1);

    // None of these can be written, and nothing is lost.
    for (std::string const& path : {std::string(), In("\xC3\xA9.txt"), In("missing/trace.txt"), mFolder})
        EXPECT_EQ(0x80004003, PrintTo(mTrace, path)) << path;
    EXPECT_EQ(1u, TakeSnapshot().size()) << "a file under another name";
    EXPECT_EQ(0x80004005, PrintTo(mTrace, "/dev/full"));

    EXPECT_EQ("0/0(0.00%)\t\t\n"
              "4/10(40.00%)\t\t-1:1(5/5/5)\t0:1(5/5/5)\t92:1(5/5/5)\t93:2(5/5/5)\t100:1(5/5/5)\t"
              "108:1(5/5/5)\t109:1(5/5/5)\t218:1(5/5/5)\t219:1(5/5/5)\t\n"
              "1/3(33.33%)\t\t4:2(6/6/6)\t93:1(6/6/6)\t\n",
        Print(mTrace));
    EXPECT_EQ("0/1(0.00%)\t\t1:1(1/1/1)\t\n", CollectAndPrint()) << "the open period stayed";
    std::setlocale(LC_ALL, "C");

    for (int period = 0; period < 3; ++period, mTrace.CollectLogTrace())
        mTrace.AddToLogTrace(1, 1, 1);
    mTrace.Clear();
    EXPECT_EQ("0/0(0.00%)\t\t\n", CollectAndPrint());
}

TEST_F(CmdLogTraceTest, KeptBucketGoesToTheNextPeriod)
{
    CmdLogTrace::Figures& kept = mTrace.GetCurItem(1);
    mTrace.AddToLogTrace(1, 1, 10);
    mTrace.CollectLogTrace();
    kept[1] = {1, 1, 30, 30, 30};
    mTrace.AddToLogTrace(1, 1, 20);
    mTrace.CollectLogTrace();
    EXPECT_EQ("0/1(0.00%)\t\t1:1(10/10/10)\t\n"
              "0/2(0.00%)\t\t1:2(20/25/30)\t\n"
              "0/0(0.00%)\t\t\n",
        CollectAndPrint());
}

TEST_F(CmdLogTraceTest, LosesNoUpdateWhileCollecting)
{
    ReportWhileCollecting(mTrace, [this](unsigned long key, int number) { mTrace.AddToLogTrace(key, number % 3, 1); });
    EXPECT_EQ(kReports, SumUp('\n' + Print(mTrace), "\n0/"));
}

// The rows beside the ends of the cluster commands and the three rows without a command.
TEST(ServerCommands, Names)
{
    for (auto const& [id, name] : std::map<int, char const*>{{0, "KillCache"}, {kFirstClusterCommand, "ClusterJoin"},
             {kLastClusterCommand, "ClusterAdminRemove"}, {137, "GetInBoxMsgResultEx"}, {139, "CleanupHistoryList"},
             {142, "UpdatePerfCountersConfig"}, {kLastServerCommand, "InitTelemetry"},
             {kServerCommandEndMark, "HvnServerCmdLast"}, {-1, nullptr}, {220, nullptr}})
        EXPECT_STREQ(name, GetServerCommandName(id)) << id;
}
