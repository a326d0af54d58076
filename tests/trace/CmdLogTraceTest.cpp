#include "trace/TraceFileFixture.h"

#include <QzLog/CmdLogTrace.h>
#include <QzLog/ServerCommands.h>

#include <clocale>
#include <limits>
#include <thread>
#include <vector>

namespace
{
    using namespace QzLog;

    constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
    constexpr int kLargestCount = std::numeric_limits<int>::max();

    class CmdLogTraceTest : public QzLogTest::TraceFileFixture
    {
    protected:
        CmdLogTrace mTrace;
    };

    TEST_F(CmdLogTraceTest, TakesValuesIn)
    {
        struct
        {
            std::vector<std::int64_t> mValues;
            std::int64_t mMinimum, mAverage, mMaximum;
        } const cases[] = {
            {{7}, 7, 7, 7},
            {{1, 2}, 1, 1, 2},
            {{1, 2, 2}, 1, 1, 2},
            {{200000000}, 100000000, 200000000, 200000000},
            {{-3, -4}, -4, -3, 0},
            {{kLargest, kLargest, kLargest}, 100000000, kLargest, kLargest},
            {{kSmallest, kSmallest}, kSmallest, kSmallest, 0},
            {{kLargest, kSmallest}, kSmallest, 0, kLargest},
        };
        unsigned long key = 0;
        for (auto const& c : cases)
        {
            SCOPED_TRACE(testing::PrintToString(c.mValues));
            ++key;
            for (std::int64_t const value : c.mValues)
                mTrace.AddToLogTrace(key, -5, value);
            CmdTraceItem const& item = mTrace.GetCurItem(key).at(-5);
            EXPECT_EQ(-5, item.id);
            EXPECT_EQ(static_cast<int>(c.mValues.size()), item.count);
            EXPECT_EQ(c.mMinimum, item.minimum);
            EXPECT_EQ(c.mAverage, item.average);
            EXPECT_EQ(c.mMaximum, item.maximum);
        }
    }

    TEST_F(CmdLogTraceTest, MergesBuckets)
    {
        struct
        {
            CmdTraceItem mFirst, mSecond;
            char const* mpExpected;
        } const cases[] = {
            {{1, 1, 10, 10, 10}, {1, 3, 5, 20, 40}, "1:4(5/17/40)"},
            // What callers may put in: nothing counted, a count that is full, one that undoes the other.
            {{1, 0, 3, 9, 0}, {}, "0:0(3/0/0)"},
            {{1, kLargestCount, 0, kLargest, kLargest}, {1, kLargestCount, 0, kLargest, 0},
                "1:2147483647(0/9223372036854775807/9223372036854775807)"},
            {{1, 2, 0, 8, 0}, {1, -2, 0, 5, 0}, "1:0(0/8/0)"},
            {{1, 3, 0, kLargest, 0}, {1, -2, 0, -kLargest, 0}, "1:1(0/9223372036854775807/0)"},
        };
        for (auto const& c : cases)
        {
            mTrace.GetCurItem(1)[1] = c.mFirst;
            mTrace.GetCurItem(2)[1] = c.mSecond;
            mTrace.CollectLogTrace();
            std::string const line = Print(mTrace);
            EXPECT_EQ("\t\t" + std::string(c.mpExpected) + "\t\n", line.substr(line.find('\t')));
        }

        // Counts that are full, or undo themselves, go on to a defined value.
        mTrace.GetCurItem(1)[1].count = kLargestCount;
        mTrace.AddToLogTrace(1, 1, 5);
        EXPECT_EQ(kLargestCount, mTrace.GetCurItem(1)[1].count);
        mTrace.GetCurItem(1)[1] = {1, -1, 0, 7, 0};
        mTrace.AddToLogTrace(1, 1, 5);
        EXPECT_EQ(7, mTrace.GetCurItem(1)[1].average);
    }

    TEST_F(CmdLogTraceTest, PrintsClosedPeriods)
    {
        // A language that writes "40,00"; where it is not installed this changes nothing.
        std::setlocale(LC_ALL, "de_DE.UTF-8");
        EXPECT_EQ("", Print(mTrace));
        mTrace.CollectLogTrace();
        mTrace.CollectLogTrace();
        for (int const id : {92, 93, 93, 100, 108, 109, 0, 218, 219, -1})
            mTrace.AddToLogTrace(1, id, 5);
        mTrace.CollectLogTrace();
        mTrace.AddToLogTrace(1, 93, 6);
        mTrace.AddToLogTrace(2, 4, 6);
        mTrace.AddToLogTrace(2, 4, 6);
        mTrace.CollectLogTrace();
        mTrace.AddToLogTrace(1, 1, 1);
        std::string const expected = "0/0(0.00%)\t\t\n"
                                     "0/0(0.00%)\t\t\n"
                                     "4/10(40.00%)\t\t-1:1(5/5/5)\t0:1(5/5/5)\t92:1(5/5/5)\t93:2(5/5/5)\t100:1(5/5/5)\t"
                                     "108:1(5/5/5)\t109:1(5/5/5)\t218:1(5/5/5)\t219:1(5/5/5)\t\n"
                                     "1/3(33.33%)\t\t4:2(6/6/6)\t93:1(6/6/6)\t\n";

        // None of these names can be written, and nothing is lost.
        EXPECT_EQ(0x80004003, PrintTo(mTrace, ""));
        EXPECT_EQ(0x80004003, PrintTo(mTrace, GetPath("\xC3\xA9.txt")));
        EXPECT_EQ(0x80004003, PrintTo(mTrace, GetPath("missing/trace.txt")));
        EXPECT_EQ(0x80004003, PrintTo(mTrace, mDirectory.string()));
        EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(mDirectory), {})) << "a file under another name";
        EXPECT_EQ(0x80004005, PrintTo(mTrace, "/dev/full"));

        EXPECT_EQ(expected, Print(mTrace));
        EXPECT_EQ("", Print(mTrace));
        mTrace.CollectLogTrace();
        EXPECT_EQ("0/1(0.00%)\t\t1:1(1/1/1)\t\n", Print(mTrace));
        std::setlocale(LC_ALL, "C");

        mTrace.AddToLogTrace(1, 1, 1);
        mTrace.CollectLogTrace();
        mTrace.AddToLogTrace(1, 1, 1);
        mTrace.Clear();
        mTrace.CollectLogTrace();
        EXPECT_EQ("0/0(0.00%)\t\t\n", Print(mTrace));
    }

    TEST_F(CmdLogTraceTest, KeptBucketGoesToTheNextPeriod)
    {
        CmdLogTrace::Figures& kept = mTrace.GetCurItem(1);
        mTrace.AddToLogTrace(1, 1, 10);
        mTrace.CollectLogTrace();
        kept[1] = {1, 1, 30, 30, 30};
        mTrace.AddToLogTrace(1, 1, 20);
        EXPECT_NE(&kept, &mTrace.GetCurItem(1));
        mTrace.CollectLogTrace();
        mTrace.CollectLogTrace();
        EXPECT_EQ("0/1(0.00%)\t\t1:1(10/10/10)\t\n"
                  "0/2(0.00%)\t\t1:2(20/25/30)\t\n"
                  "0/0(0.00%)\t\t\n",
            Print(mTrace));
    }

    TEST_F(CmdLogTraceTest, LosesNoUpdateWhileCollecting)
    {
        constexpr int kThreads = 4;
        constexpr int kUpdates = 2000;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back(
                [this, i]
                {
                    for (int update = 0; update < kUpdates; ++update)
                        mTrace.AddToLogTrace(static_cast<unsigned long>(i), update % 3, 1);
                });
        }
        for (int i = 0; i < 200; ++i)
        {
            mTrace.CollectLogTrace();
            std::this_thread::yield();
        }
        for (std::thread& thread : threads)
            thread.join();
        mTrace.CollectLogTrace();

        std::ifstream lines((Print(mTrace), GetPath("trace.txt")));
        int sum = 0;
        for (std::string line; std::getline(lines, line);)
            sum += std::stoi(line.substr(2));
        EXPECT_EQ(kThreads * kUpdates, sum);
    }

    TEST(ServerCommands, Names)
    {
        struct
        {
            int mID;
            char const* mpName;
        } const rows[] = {{0, "KillCache"}, {kFirstClusterCommand, "ClusterJoin"},
            {kLastClusterCommand, "ClusterAdminRemove"}, {137, "GetInBoxMsgResultEx"}, {138, "Reserved138"},
            {139, "CleanupHistoryList"}, {142, "UpdatePerfCountersConfig"}, {kLastServerCommand, "InitTelemetry"},
            {kServerCommandEndMark, "HvnServerCmdLast"}};
        for (auto const& row : rows)
            EXPECT_STREQ(row.mpName, GetServerCommandName(row.mID)) << row.mID;
        EXPECT_EQ(nullptr, GetServerCommandName(-1));
        EXPECT_EQ(nullptr, GetServerCommandName(220));
    }
}
