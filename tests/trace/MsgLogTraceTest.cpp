#include "trace/TraceTest.h"

#include <QzBase/Message.h>
#include <QzLog/MsgLogTrace.h>

#include <atomic>
#include <barrier>
#include <limits>

using namespace QzLog;

namespace
{
    constexpr int kLargestInt = std::numeric_limits<int>::max();
    auto const kUnknownOperation = static_cast<MsgOpType>(7);

    class MsgLogTraceTest : public TraceTest
    {
    protected:
        MsgLogTraceTest() { MsgLogTrace::Init(); }

        ~MsgLogTraceTest() override
        {
            delete MsgLogTrace::getInstance();
            MsgLogTrace::SetMsgLogTrace(false);
            MsgLogTrace::Destroy();
        }

        static long Add(
            char const* name, int commandID, int value, MsgOpType operation = MsgOpFirst, unsigned long bucketKey = 1)
        {
            QzBase::WideString destination = QzTest::Wide(name);
            return MsgLogTrace::getInstance()->AddToLogTrace(bucketKey, commandID, destination, value, operation);
        }

        /// Ends the period and gives the lines of the closed ones, without that of the start time.
        std::string CollectAndPrint() const
        {
            MsgLogTrace& trace = *MsgLogTrace::getInstance();
            trace.CollectLogTrace();
            std::string const text = Print(trace);
            std::string const head = std::string(trace.mStartTime.ToString().c_str()) + "\n";
            EXPECT_EQ(head, text.substr(0, head.size()));
            return text.substr(head.size());
        }

        static std::string Pad(std::string const& name)
        {
            return "\t" + name + std::string(50 - name.size(), ' ') + "\t";
        }
    };
}

TEST_F(MsgLogTraceTest, OneObjectBehindASwitch)
{
    QzBase::WideString name = QzTest::Wide("A");
    EXPECT_EQ(1, MsgLogTrace::SendToLogTrace(1, 2, name, 3, MsgOpFirst));
    MsgLogTrace::Destroy();
    EXPECT_THROW(MsgLogTrace::getInstance(), QzBase::Message) << "the report above made an object";
    MsgLogTrace::Init();

    MsgLogTrace::SetMsgLogTrace(true);
    EXPECT_EQ(0, MsgLogTrace::SendToLogTrace(1, 2, name, 3, MsgOpThird));
    EXPECT_EQ(1, MsgLogTrace::SendToLogTrace(1, 2, name, 3, kUnknownOperation));
    MsgLogTrace* const instance = MsgLogTrace::getInstance();
    MsgLogTrace::Init();
    EXPECT_EQ(instance, MsgLogTrace::getInstance());
    EXPECT_EQ("1" + Pad("A") + "2(0-0-1:3)\t\n", CollectAndPrint());

    delete instance;
    EXPECT_TRUE(MsgLogTrace::IsMsgLogTraceEnabled());
    EXPECT_EQ("", CollectAndPrint());
}

TEST_F(MsgLogTraceTest, TakesReportsInAndMergesBuckets)
{
    std::pair<std::vector<int>, char const*> const rows[] = {{{10, 20, 31}, "5(3-0-0:20)\t\n"},
        {{-1, -2}, "5(2-0-0:-1)\t\n"}, {{kLargestInt, kLargestInt, kLargestInt}, "5(3-0-0:2147483647)\t\n"},
        {{-kLargestInt - 1, -kLargestInt - 1}, "5(2-0-0:-2147483648)\t\n"},
        {{kLargestInt, -kLargestInt}, "5(2-0-0:0)\t\n"}};
    for (auto const& [values, expected] : rows)
    {
        for (int const value : values)
            EXPECT_EQ(0, Add("A", 5, value));
        EXPECT_EQ("1" + Pad("A") + expected, CollectAndPrint());
    }

    Add("A", 5, 10);
    for (MsgOpType const operation : {MsgOpFirst, MsgOpSecond, MsgOpThird})
        EXPECT_EQ(0, Add("A", 5, 20, operation, 2));
    // An item without a counted report has no weight, and nothing to divide by.
    EXPECT_EQ(1, Add("A", 5, 1000, kUnknownOperation, 3));
    EXPECT_EQ(1, Add("A", 6, 1000, kUnknownOperation, 3));
    EXPECT_EQ("1" + Pad("A") + "5(2-1-1:17)\t6(0-0-0:0)\t\n", CollectAndPrint());
}

TEST_F(MsgLogTraceTest, PrintsClosedPeriods)
{
    MsgLogTrace& trace = *MsgLogTrace::getInstance();
    EXPECT_EQ("", CollectAndPrint()) << "a period without a destination has no line";

    std::string const longName(60, 'n');
    for (int const id : {218, 219, -1})
        Add("B", id, 1);
    Add("B", 0, 2, MsgOpSecond);
    Add(longName.c_str(), 7, 3);
    trace.CollectLogTrace();
    Add("\xC3\xA9\xF0\x9F\x98\x80", 8, 4);
    EXPECT_EQ(0x80004003, PrintTo(trace, In("\xC3\xA9.txt")));
    EXPECT_EQ("1" + Pad("B") + "0(0-1-0:2)\t218(1-0-0:1)\t\n1\t" + longName + "\t7(1-0-0:3)\t\n1" + Pad("??") + "\n2" +
                  Pad("B") + "\n2\t" + longName + "\t\n2" + Pad("??") + "8(1-0-0:4)\t\n",
        CollectAndPrint());

    // What was reported for "B" before a print belongs to an index that no name has any more.
    Add("B", 9, 5);
    EXPECT_EQ(0, PrintTo(trace, In("trace.txt")));
    Add("B", 9, 7);
    EXPECT_EQ("1" + Pad("B") + "9(1-0-0:7)\t\n", CollectAndPrint());

    // A full disk takes the periods with it, and so does Clear with the open one.
    Add("B", 9, 7);
    trace.CollectLogTrace();
    EXPECT_EQ(0x80004005, PrintTo(trace, "/dev/full"));
    EXPECT_EQ("", CollectAndPrint());
    Add("B", 9, 7);
    trace.CollectLogTrace();
    Add("B", 9, 7);
    trace.Clear();
    EXPECT_EQ("", CollectAndPrint());
}

TEST_F(MsgLogTraceTest, ThreadsThatMakeItAtOnceGetOneObject)
{
    for (int round = 0; round < 500; ++round)
    {
        std::barrier<> start(2);
        MsgLogTrace* others = nullptr;
        std::thread other([&] { start.arrive_and_wait(), others = MsgLogTrace::getInstance(); });
        start.arrive_and_wait();
        MsgLogTrace* const own = MsgLogTrace::getInstance();
        other.join();
        EXPECT_TRUE(own == others && own == MsgLogTrace::getInstance());
        delete own;
    }
}

TEST_F(MsgLogTraceTest, LosesNoReportWhileCollecting)
{
    std::atomic<int> failed = 0;
    QzBase::WideString names[] = {QzTest::Wide("A"), QzTest::Wide("B")};
    MsgLogTrace& trace = *MsgLogTrace::getInstance();
    ReportWhileCollecting(trace, [&](unsigned long key, int number)
        { failed += trace.AddToLogTrace(key, 1, names[number % 2], 1, MsgOpFirst) != 0; });
    EXPECT_EQ(0, failed);
    EXPECT_EQ(kReports, SumUp(CollectAndPrint(), "1("));
}
