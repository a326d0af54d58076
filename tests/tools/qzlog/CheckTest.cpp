#include "ToolFixture.h"

#include <functional>

namespace
{
    using namespace QzTest;

    using CheckTest = ToolFixture;

    TEST_F(CheckTest, NamesFileLineAndReason)
    {
        {
            auto const log = OpenLog("good.log", 100000);
            for (char const* const text : {"one", "two\nlines", "three"})
                Write(*log, {.mTime = "2026-11-18 03:00:01.000+05:30"}, text);
        }
        std::string const good = Get("good.log");
        std::string const record = good.substr(36, good.find("\r\n", 36) + 2 - 36);
        std::string const missed = "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:2][Log][Error][UID:0][SID:0]"
                                   "[OID:0] Missed 17 messages since 2026-11-18 03:00:00.000 due to: disk full\r\n";
        struct
        {
            char const* mName;
            std::string mContent;
            int mExitCode;
            std::string mOutput;
        } const cases[] = {
            {"good", good, 0, ""},
            {"head alone", good.substr(0, 36), 0, ""},
            {"empty", "", 0, ""},
            {"missed", good + missed, 0, "good.log:6: note: 17 messages missed since 2026-11-18 03:00:00.000\n"},
            {"no mark", good.substr(3), 1, "good.log:1: the file does not begin with a byte order mark\n"},
            {"no head", good.substr(0, 3) + "# Something\r\n" + record, 1,
                "good.log:1: the file does not begin with the head '# Tarnwickforge Log version 2.0'\n"},
            {"other version", good.substr(0, 31) + "3.1\r\n" + record, 1,
                "good.log:1: the head is of another version: '\xEF\xBB\xBF# Tarnwickforge Log version 3.1'\n"},
            {"two heads", good + good, 1, "good.log:6: a head in the middle of the file\n"},
            {"LF", good.substr(0, good.size() - 2) + '\n', 1, "good.log:5: the line ends with LF, not with CR LF\n"},
            {"CR", good.substr(0, good.size() - 4) + "\ree\r\n", 1, "good.log:5: a CR within the line\n"},
            {"empty line", good + "\r\n", 1, "good.log:6: an empty line\n"},
            {"zeros", good + std::string(5, '\0') + "\r\n", 1, "good.log:6: a NUL byte\n"},
            {"no UTF-8", good + "Caf\xE9 au lait\r\n", 1, "good.log:6: a byte that is no UTF-8\n"},
            {"loose", good.substr(0, 36) + "what?\r\n" + record, 1, "good.log:2: no record owns the line 'what?'\n"},
            {"header", good + "2026-11-18 03:00:01.000 [HOST:a]\r\n", 1,
                "good.log:6: the header cannot be read: '2026-11-18 03:00:01.000 [HOST:a]'\n"},
            {"cut at the end", good.substr(0, good.size() - 3), 1,
                "good.log:5: the last record is cut: the file ends without CR LF\n"},
            {"missed behind one that is cut", good.substr(0, good.size() - 5) + missed + missed.substr(0, 70) + missed,
                1,
                "good.log:5: a record begins within the line, so the one before it is cut: '" + missed.substr(0, 60) +
                    "...'\ngood.log:5: note: 17 messages missed since 2026-11-18 03:00:00.000\n"
                    "good.log:6: a record begins within the line, so the one before it is cut: '" +
                    missed.substr(0, 60) +
                    "...'\ngood.log:6: note: 17 messages missed since 2026-11-18 03:00:00.000\n"},
            {"quotes part of a header", good.substr(0, good.size() - 2) + record.substr(0, 100) + "\r\n", 0, ""},
            {"cut in a header", good + record.substr(0, 40) + record, 1,
                "good.log:6: a record begins within the line, so the one before it is cut: '" + record.substr(0, 60) +
                    "...'\n"},
        };
        for (auto const& testCase : cases)
        {
            SCOPED_TRACE(testCase.mName);
            Put("good.log", testCase.mContent);
            Outcome const outcome = Run("qzlog check -q good.log");
            EXPECT_EQ(outcome.mOutput, testCase.mOutput);
            EXPECT_EQ(outcome.mExitCode, testCase.mExitCode);
        }
    }

    TEST_F(CheckTest, GoesThroughAllBackupsAndSumsUp)
    {
        auto const log = OpenLog("a.log", 1);
        for (char const* const text : {"one", "two", "three"})
            Write(*log, {.mTime = "2026-11-18 03:00:01.000"}, text);
        std::string const missed = Get("a.log.bak01").substr(0, 36) +
                                   "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:2][Log][Error][UID:0][SID:0]"
                                   "[OID:0] Missed 1 messages since 2026-11-18 03:00:00.000 due to: disk full\r\n";
        Put("a.log.bak01", missed + "\r\n");
        Outcome const outcome = Run("qzlog check a.log missing.log");
        EXPECT_EQ(outcome.mExitCode, 2);
        EXPECT_EQ(outcome.mOutput, "qzlog: missing.log: No such file or directory\n"
                                   "a.log.bak01:2: note: 1 message missed since 2026-11-18 03:00:00.000\n"
                                   "a.log.bak01:3: an empty line\n"
                                   "a.log: 3 files, 3 records, 1 fault, 1 message missed\n"
                                   "  1 missed due to: disk full\n");
        EXPECT_EQ(Run("qzlog check a.log").mExitCode, 1);
    }
}
