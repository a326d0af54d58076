#include "ToolFixture.h"

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
                "4 records from 2026-11-17 22:00:01.000 to 2026-11-17 22:20:03.500, 17 messages missed, "
                "0 pieces that no record owns\n"
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
            {"qzlog stats --by id --by thread --json a.log | grep -o '\"by.*}},'",
                "\"by\":{\"id\":{\"(none)\":5,\"0x0000002A\":1},\"thread\":{\"21\":6}},\n"},
        });
        // 4,802 seconds in at most 40 slots.
        EXPECT_NE(Run("qzlog stats a.log").mOutput.find("in slots of 5 min"), std::string::npos);
        EXPECT_EQ(Run("qzlog stats --top 1 a.log").mOutput.find("Log "), std::string::npos);
        EXPECT_EQ(Run("qzlog stats --logger Nobody a.log").mExitCode, 1);
    }
}
