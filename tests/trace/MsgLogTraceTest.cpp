#include "trace/TraceFileFixture.h"

#include <QzLog/MsgLogTrace.h>

#include <QzBase/Message.h>

#include <atomic>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

namespace
{
    using namespace QzBase::Literals;
    using namespace QzLog;

    constexpr int kLargest = std::numeric_limits<int>::max();
    auto const kUnknownOperation = static_cast<MsgOpType>(7);

    class MsgLogTraceTest : public QzLogTest::TraceFileFixture
    {
    protected:
        MsgLogTraceTest() { MsgLogTrace::Init(); }

        ~MsgLogTraceTest() override
        {
            delete MsgLogTrace::getInstance();
            MsgLogTrace::SetMsgLogTrace(false);
            MsgLogTrace::Destroy();
        }

        static long Add(char const* name, int commandID, int value, MsgOpType operation = MsgOpFirst)
        {
            return MsgLogTrace::getInstance()->AddToLogTrace(
                1, commandID, QzBase::UTF8ToWideChar(name, false).c_str(), value, operation);
        }

        // The lines of the closed periods, without that of the start time.
        std::string PrintPeriods() const
        {
            MsgLogTrace& trace = *MsgLogTrace::getInstance();
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

    TEST_F(MsgLogTraceTest, OneObjectBehindASwitch)
    {
        QzBase::WideString const name = u"A"_w;
        EXPECT_FALSE(MsgLogTrace::IsMsgLogTraceEnabled());
        EXPECT_EQ(1, MsgLogTrace::SendToLogTrace(1, 2, name, 3, MsgOpFirst));
        MsgLogTrace::Destroy();
        EXPECT_THROW(MsgLogTrace::getInstance(), QzBase::Message) << "the report above made an object";
        MsgLogTrace::Init();

        MsgLogTrace::SetMsgLogTrace(true);
        EXPECT_EQ(0, MsgLogTrace::SendToLogTrace(1, 2, name, 3, MsgOpThird));
        EXPECT_EQ(1, MsgLogTrace::SendToLogTrace(1, 2, name, 3, kUnknownOperation));
        MsgLogTrace* const instance = MsgLogTrace::getInstance();
        MsgLogTrace::Destroy();
        EXPECT_EQ(instance, MsgLogTrace::getInstance());
        MsgLogTrace::Init();
        instance->CollectLogTrace();
        EXPECT_EQ("1" + Pad("A") + "2(0-0-1:3)\t\n", PrintPeriods());

        delete instance;
        EXPECT_TRUE(MsgLogTrace::IsMsgLogTraceEnabled());
        MsgLogTrace::getInstance()->CollectLogTrace();
        EXPECT_EQ("", PrintPeriods());
    }

    TEST_F(MsgLogTraceTest, TakesReportsIn)
    {
        struct
        {
            std::vector<int> mValues;
            int mAverage;
        } const cases[] = {{{10, 20, 31}, 20}, {{1, 2}, 1}, {{-1, -2}, -1}, {{kLargest, kLargest, kLargest}, kLargest},
            {{-kLargest - 1, -kLargest - 1}, -kLargest - 1}, {{kLargest, -kLargest}, 0}};
        for (auto const& c : cases)
        {
            for (int const value : c.mValues)
                EXPECT_EQ(0, Add("A", 5, value));
            MsgLogTrace::getInstance()->CollectLogTrace();
            EXPECT_EQ("1" + Pad("A") + "5(" + std::to_string(c.mValues.size()) + "-0-0:" + std::to_string(c.mAverage) +
                          ")\t\n",
                PrintPeriods());
        }
    }

    TEST_F(MsgLogTraceTest, MergesBuckets)
    {
        QzBase::WideString const name = u"A"_w;
        MsgLogTrace& trace = *MsgLogTrace::getInstance();
        EXPECT_EQ(0, trace.AddToLogTrace(1, 5, name, 10, MsgOpFirst));
        for (MsgOpType const operation : {MsgOpFirst, MsgOpSecond, MsgOpThird})
            EXPECT_EQ(0, trace.AddToLogTrace(2, 5, name, 20, operation));
        // An item without a counted report has no weight, and nothing to divide by.
        EXPECT_EQ(1, trace.AddToLogTrace(3, 5, name, 1000, kUnknownOperation));
        EXPECT_EQ(1, trace.AddToLogTrace(3, 6, name, 1000, kUnknownOperation));
        trace.CollectLogTrace();
        EXPECT_EQ("1" + Pad("A") + "5(2-1-1:17)\t6(0-0-0:0)\t\n", PrintPeriods());
    }

    TEST_F(MsgLogTraceTest, PrintsClosedPeriods)
    {
        MsgLogTrace& trace = *MsgLogTrace::getInstance();
        trace.CollectLogTrace();
        EXPECT_EQ("", PrintPeriods());

        std::string const longName(60, 'n');
        Add("B", 218, 1);
        Add("B", 219, 1);
        Add("B", -1, 1);
        Add("B", 0, 2, MsgOpSecond);
        Add(longName.c_str(), 7, 3);
        trace.CollectLogTrace();
        Add("\xC3\xA9\xF0\x9F\x98\x80", 8, 4);
        trace.CollectLogTrace();
        Add("B", 9, 5);
        EXPECT_EQ(0x80004003, PrintTo(trace, GetPath("\xC3\xA9.txt")));
        EXPECT_EQ("1" + Pad("B") + "0(0-1-0:2)\t218(1-0-0:1)\t\n" + //
                      "1\t" + longName + "\t7(1-0-0:3)\t\n" +       //
                      "1" + Pad("??") + "\n" +                      //
                      "2" + Pad("B") + "\n" +                       //
                      "2\t" + longName + "\t\n" +                   //
                      "2" + Pad("??") + "8(1-0-0:4)\t\n",
            PrintPeriods());
        EXPECT_EQ("", PrintPeriods());

        // What was reported before the print for "B" belongs to an index that no name has any more.
        Add("B", 9, 7);
        trace.CollectLogTrace();
        EXPECT_EQ("1" + Pad("B") + "9(1-0-0:7)\t\n", PrintPeriods());

        // A full disk takes the periods with it.
        Add("B", 9, 7);
        trace.CollectLogTrace();
        EXPECT_EQ(0x80004005, PrintTo(trace, "/dev/full"));
        EXPECT_EQ("", PrintPeriods());

        Add("B", 9, 7);
        trace.CollectLogTrace();
        Add("B", 9, 7);
        trace.Clear();
        trace.CollectLogTrace();
        EXPECT_EQ("", PrintPeriods());
    }

    TEST_F(MsgLogTraceTest, LosesNoReportWhileCollecting)
    {
        constexpr int kThreads = 4;
        constexpr int kReports = 2000;
        MsgLogTrace::SetMsgLogTrace(true);
        std::atomic<int> failed = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back(
                [i, &failed]
                {
                    QzBase::WideString const names[] = {u"A"_w, u"B"_w};
                    for (int report = 0; report < kReports; ++report)
                    {
                        if (MsgLogTrace::SendToLogTrace(
                                static_cast<unsigned long>(i), 1, names[report % 2], 1, MsgOpFirst) != 0)
                            ++failed;
                    }
                });
        }
        for (int i = 0; i < 200; ++i)
        {
            MsgLogTrace::getInstance()->CollectLogTrace();
            std::this_thread::yield();
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(0, failed);
        MsgLogTrace::getInstance()->CollectLogTrace();

        std::string const text = PrintPeriods();
        int sum = 0;
        for (std::size_t pos = text.find("1("); pos != std::string::npos; pos = text.find("1(", pos + 2))
            sum += std::stoi(text.substr(pos + 2));
        EXPECT_EQ(kThreads * kReports, sum);
    }
}
