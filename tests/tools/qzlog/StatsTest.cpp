#include "ToolFixture.h"

#include <QzLog/CmdLogTrace.h>

namespace
{
    using namespace QzTest;

    using StatsTest = ToolFixture;

    TEST_F(StatsTest, CountsAndDrawsBars)
    {
        auto const log = OpenLog("a.log", 100000);
        Write(*log, {.mTime = "2026-11-18 03:00:01.000"}, "one");
        Write(*log, {.mTime = "2026-11-18 03:00:02.000"}, "two");
        Write(*log, {.mTime = "2026-11-18 03:20:03.500", .mLogger = "Netz\xC3\xA9", .mMessageID = 42}, "three");
        Write(*log, {.mTime = "2026-11-18 03:00:02.000", .mLogger = "Log", .mDispatcher = "Error"},
            "Missed 17 messages since 2026-11-18 03:00:00.000 due to: disk full");
        Check({
            {"COLUMNS=40 TZ=EST5 qzlog stats --slot 10m a.log",
                "4 records from 2026-11-17 22:00:01.000 to 2026-11-17 22:20:03.500, 17 messages missed\n"
                "\nLoggers\n"
                "Kernel  2 #############################\n"
                "Log     1 ###############\n"
                "Netz\xC3\xA9   1 ###############\n"
                "\nDispatchers\n"
                "Trace  3 ##############################\n"
                "Error  1 ##########\n"
                "\nMessage IDs\n"
                "(none)      3 #########################\n"
                "0x0000002A  1 ########\n"
                "\nTime, in slots of 10 min\n"
                "2026-11-17 22:00:00  3 ################\n"
                "2026-11-17 22:10:00  0\n"
                "2026-11-17 22:20:00  1 #####\n"},
            {"qzlog stats --json --logger Kernel a.log",
                R"({"dispatchers":{"Trace":2},"first":"2026-11-18 03:00:01.000","last":"2026-11-18 03:00:02.000",)"
                R"-("loggers":{"Kernel":2},"loose":0,"message_ids":{"(none)":2},"missed":0,"records":2,)-"
                R"("slot_milliseconds":1000,"slots":[{"records":1,"time":"2026-11-18 03:00:01.000"},)"
                R"({"records":1,"time":"2026-11-18 03:00:02.000"}]})"
                "\n"},
        });
        Write(*log, {.mTime = "2026-11-18 04:20:03.500", .mUser = "u"}, "Can't run 'a 1' in 12.5 ms (0x1F, 1f00ab) 'b");
        Write(*log, {.mTime = "2026-11-18 04:20:03.500", .mUser = "u"}, "Can't run 'b' in 7.25 ms (0x2, beef00) 'b\n2");
        Check({
            {"COLUMNS=60 qzlog stats --by user --by message --by hour --top 2 a.log | tail -n +2",
                "\nUsers\n"
                "(none)  4 #################################################\n"
                "u       2 #########################\n"
                "\nMessages (and 3 more)\n"
                "Can't run '...' in N.N ms (N, N) 'b       2 ###############\n"
                "Missed N messages since N-N-N N:N:N.N...  1 ########\n"
                "\nHours\n"
                "2026-11-18 03  4 ##########################################\n"
                "2026-11-18 04  2 #####################\n"},
            {"qzlog stats --json --by id --by thread a.log | grep -o '\"by.*}},'",
                "\"by\":{\"id\":{\"(none)\":5,\"0x0000002A\":1},\"thread\":{\"21\":6}},\n"},
        });
        // 4,802 seconds in at most 40 slots.
        EXPECT_NE(Run("qzlog stats a.log").mOutput.find("in slots of 5 min"), std::string::npos);
        EXPECT_EQ(Run("qzlog stats --top 1 a.log").mOutput.find("Log "), std::string::npos);
        EXPECT_EQ(Run("qzlog stats --logger Nobody a.log").mExitCode, 1);
    }

    TEST_F(StatsTest, BringsTogetherWhatIsEnteredAndLeft)
    {
        struct
        {
            char const* mSecond;
            unsigned int mThread;
            char const* mText;
        } const lines[] = {
            {"00.000", 21, "Enter 'Run' near a.cpp(10)"},
            {"00.005", 22, "Enter 'Run' near a.cpp(10)"},
            {"00.010", 21, "Enter 'Run' near a.cpp(10)"},
            {"00.020", 21, "Leave 'Run' near a.cpp(12) with 0x00000000"},
            {"00.030", 21, "Enter 'In' near b.cpp(1)"},
            // Of several logs, merged, what happens within a millisecond can come in any order.
            {"00.100", 21, "Leave 'Run' near a.cpp(10)"},
            {"00.100", 21, "Leave 'In' near b.cpp(1)"},
            {"02.000", 22, "Leave 'Gone' near c.cpp(1)"},
            {"03.000", 22, "Leave 'Run' near a.cpp(10)"},
            {"04.000", 23, "Enter 'Outer' near d.cpp(9)"},
            {"04.000", 23, "Enter 'Lost' near d.cpp(9)"},
            {"05.000", 23, "Leave 'Outer' near d.cpp(9)"},
            {"06.000", 23, "Leave 'Lost' near d.cpp(9)"},
            {"07.000", 23, "Enter 'the' room(7)"},
            {"08.000", 23, "Leave 'Run' near a.cpp(10) at last"},
        };
        // Each record stands in a file of its own.
        auto const log = OpenLog("a.log", 1);
        for (auto const& line : lines)
            Write(*log, {.mTime = (std::string("2026-11-18 03:00:") + line.mSecond).c_str(), .mThread = line.mThread},
                line.mText);
        Check({
            {"qzlog stats --scopes --top 3 a.log | tail -n +2 | sed 's/bak[0-9]* at byte .*//'",
                "\nScopes, those with most time altogether first (and 2 more)\n"
                "count    mean     50%     90%     99%  longest  scope\n"
                "    3  1.035s   101ms  2.995s  2.995s   2.995s  Run (a.cpp)\n"
                "    longest until 2026-11-18 03:00:03.000 [HOST:ws01][SERVER:Engine][PID:11][THR:22], a.log.\n"
                "    1  1.000s  1.000s  1.000s  1.000s   1.000s  Outer (d.cpp)\n"
                "    longest until 2026-11-18 03:00:05.000 [HOST:ws01][SERVER:Engine][PID:11][THR:23], a.log.\n"
                "    1    70ms    70ms    70ms    70ms     70ms  In (b.cpp)\n"
                "    longest until 2026-11-18 03:00:00.100 [HOST:ws01][SERVER:Engine][PID:11][THR:21], a.log.\n"},
            {"qzlog stats --scopes --json a.log | grep -o '{[^{]*\\(Lost\\|Gone\\)[^}]*}'",
                R"-({"count":0,"not_entered":1,"not_left":0,"scope":"Gone (c.cpp)"})-"
                "\n"
                R"-({"count":0,"not_entered":1,"not_left":1,"scope":"Lost (d.cpp)"})-"
                "\n"},
        });
        // More open ones than are kept, and one thread more.
        std::string flood = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";
        for (int i = 0; i < 100002; ++i)
            flood += "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:" + std::to_string(i < 100001 ? 2 : 3) +
                     "][c][d][UID:0][SID:0][OID:0] Enter 'Deep' near x.cpp(1)\r\n";
        Put("flood.log", flood);
        Outcome const outcome = Run("qzlog stats --scopes flood.log");
        EXPECT_NE(outcome.mOutput.find("100002 were entered and not left, 0 left"), std::string::npos)
            << outcome.mOutput;
        EXPECT_NE(outcome.mOutput.find("\n50001 of those that were not left were forgotten"), std::string::npos);
    }

    TEST_F(StatsTest, FindsSilenceAndWhatIsNew)
    {
        auto const log = OpenLog("a.log", 1);
        auto const other = OpenLog("b.log", 100000);
        Write(*log, {.mTime = "2026-11-18 03:00:01.000"}, "Request 17 of 'a' failed");
        Write(*log, {.mTime = "2026-11-18 03:00:01.500", .mProcess = 12}, "ready");
        Write(*other, {.mTime = "2026-11-18 04:02:01.500", .mProcess = 12}, "ready");
        Write(*log, {.mTime = "2026-11-18 04:02:04.500"}, "Request 18 of 'b' failed");
        Write(*other, {.mTime = "2026-11-18 05:00:00.250+01:00"}, "Request 18 is lost");
        Write(*log, {.mTime = "2026-11-18 04:02:05.000"}, "Request 19 is lost");
        Check({
            {"qzlog stats --gaps --top 2 a.log b.log | tail -n +2 | sed '/Last/,$s/^ *[0-9][0-9dh]*  2/S  2/'",
                "\nLongest times without a record\n"
                "length                     from  to\n"
                " 1h02m  2026-11-18 03:00:01.500  2026-11-18 04:02:01.500\n"
                "3.000s  2026-11-18 04:02:01.500  2026-11-18 04:02:04.500\n"
                "\nLongest times without a record of one process\n"
                "length                     from  to, process\n"
                " 1h02m  2026-11-18 03:00:01.500  2026-11-18 04:02:01.500 [HOST:ws01][SERVER:Engine][PID:12]\n"
                "59m59s  2026-11-18 03:00:01.000  2026-11-18 04:00:00.250 [HOST:ws01][SERVER:Engine][PID:11]\n"
                "\nLast records\n"
                "silent                    since  log\n"
                "S  2026-11-18 04:02:01.500  b.log\n"
                "S  2026-11-18 04:02:05.000  a.log\n"},
            {"qzlog stats --new-since '2026-11-18 04:00:00' a.log b.log | tail -n +2",
                "\nMessages that came first since 2026-11-18 04:00:00.000, after 2 records before\n"
                "count                    first  message\n"
                "    2  2026-11-18 04:00:00.250  [Kernel][Trace] Request N is lost\n"},
        });
    }

    TEST_F(StatsTest, NamesTheCommandsOfTraces)
    {
        QzLog::CmdLogTrace commands;
        commands.SetFileName(WideIn("c.txt").c_str());
        for (int const value : {1, 9})
            commands.AddToLogTrace(1, 32, value);
        commands.CollectLogTrace();
        commands.CollectLogTrace();
        commands.AddToLogTrace(1, 32, 20);
        commands.AddToLogTrace(1, 93, 4);
        commands.AddToLogTrace(1, 999, 4);
        commands.CollectLogTrace();
        ASSERT_EQ(commands.PrintAllLogTrace(), 0);
        Put("m.txt",
            "2026-11-18 03:02:07.123\n1\tto A   \t32(1-2-3:20)\t4(0-0-1:7)\t\n1\tB\t\n2\tto A\t32(1-0-0:34)\t\n");
        Put("bad.txt", "1/1(100.00%)\t\t93:1(1/1/1)\tx\t\n2/3(66.67%)\t\t93:2(1/1/1)\t\n5");
        Check({
            {"qzlog stats --trace c.txt --trace m.txt --top 2",
                "c.txt: command trace, 3 periods, 5 commands, 1 of them of the cluster (and 1 more)\n"
                "count  minimum  mean  maximum  id  command\n"
                "    3        1    10       20  32  RunReport\n"
                "    1        4     4        4  93  ClusterJoin\n"
                "m.txt: message trace since 2026-11-18 03:02:07.123, 2 periods, 8 messages\n"
                "count  first  second  third  mean  id  command and destination\n"
                "    7      2       2      3    22  32  RunReport, to A\n"
                "    1      0       0      1     7   4  GetServerEnv, to A\n"},
            {"qzlog stats --trace bad.txt --top 0",
                "qzlog: bad.txt:1, field 4: 'x' is not ID:COUNT(MIN/MEAN/MAX)\n"
                "qzlog: bad.txt:2, field 4: the figures have 2 commands, and the start of the line says 3\n"
                "qzlog: bad.txt:3, field 1: '5' is not COUNT/COUNT(SHARE%)\n"
                "qzlog: bad.txt:3, field 1: the line is cut: the file ends within it\n"
                "bad.txt: command trace, 2 periods, 3 commands, 3 of them of the cluster (and 1 more)\n",
                2},
            {": > empty.txt; qzlog stats --trace empty.txt", "empty.txt: no period of a command trace\n", 1},
            {"qzlog stats --trace m.txt -i",
                "qzlog: --trace reads no log, and takes no --ignore-case (see qzlog stats --help)\n", 2},
        });
    }
}
