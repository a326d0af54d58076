#include "ToolFixture.h"

namespace
{
    using namespace QzTest;

    using CheckTest = ToolFixture;

    std::string MakeRecord(std::string const& time, std::string const& text, std::string const& thread = "21")
    {
        return "2026-11-18 " + time + " [HOST:ws01][SERVER:Engine][PID:11][THR:" + thread +
               "][Kernel][Trace][UID:0][SID:0][OID:0] " + text + "\r\n";
    }

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
            {"loose", good.substr(0, 36) + "what?\r\n" + record, 1, "good.log:2: a line outside of records: 'what?'\n"},
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
            {"time goes back", good + MakeRecord("03:00:00.000+05:30", "four"), 1,
                "good.log:6: time goes back by 1.000s within thread 21 of process 11\n"},
            {"the same twice", good + MakeRecord("03:00:02.000+05:30", "four") + good.substr(36), 1,
                "good.log:7: the record stands here once more, after good.log:2\n"},
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

    TEST_F(CheckTest, LooksAtBackupsAndMoments)
    {
        std::string const head = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";
        std::string const content = head + MakeRecord("03:00:01.000", "one") + MakeRecord("03:00:02.000", "two");
        Put("a.log", content + MakeRecord("03:00:03.000", "quotes [x] [HOST:me]"));
        Put("a.log.bak00", content);
        Put("a.log.bak03", head + MakeRecord("02:00:00.000", "cut").substr(0, 99));
        // What differs from a record in the same line only in time and length is no copy of it.
        std::string const tail = " in 0 ms: the answer is in the cache";
        Put("b.log.bak00", head + MakeRecord("03:00:01.000", "10" + tail) + MakeRecord("03:00:01.001", "none"));
        Put("b.log.bak02.gz", head); // number 1 was moved out of the way, to be compressed
        Put("b.log", head + MakeRecord("03:00:01.001", "1" + tail) +
                         "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:2][Log][Error][UID:0][SID:0][OID:0] "
                         "Missed 2 messages since 2026-11-18 03:00:00.000 due to: No space left on device\r\n");
        std::string const missing = "a.log.bak03: back-up 01 to 02 are missing between it and the log\n";
        std::string const cut = "a.log.bak03:2: the last record is cut: the file ends without CR LF\n";
        std::string const notes = "a.log:2: note: the records of a.log.bak00 stand here once more\n"
                                  "a.log:4: note: within a message stands what looks like a header: '[HOST:me]'\n";
        Check({{"qzlog check a.log", missing + cut + notes + "a.log: 3 files, 6 records, 2 faults, 0 messages missed\n",
                   1},
            {"qzlog check -q a.log", missing + cut, 1}, {"qzlog check -q --no-backups a.log", ""},
            {"touch -d '2026-11-18 02:00' a.log.bak03; qzlog check --since '2026-11-18 03:00:02' a.log",
                notes.substr(notes.find("a.log:4")) + "a.log: 3 files, 3 records, 0 faults, 0 messages missed\n"},
            {"qzlog check --monitor a.log",
                "QZLOG WARNING - 1 log, 6 records, 2 faults, 0 messages missed: " +
                    missing.substr(0, missing.size() - 1) + " | faults=2 missed=0 records=6\n",
                1},
            {"qzlog check --monitor b.log c.log 2>/dev/null",
                "QZLOG CRITICAL - 1 log, 4 records, 0 faults, 2 messages missed: c.log: No such file or directory | "
                "faults=0 missed=2 records=4\n",
                2},
            {"qzlog check --monitor b.log",
                "QZLOG WARNING - 1 log, 4 records, 0 faults, 2 messages missed: b.log:3: note: 2 messages missed since "
                "2026-11-18 03:00:00.000 | faults=0 missed=2 records=4\n",
                1},
            {"qzlog check c.log b.log",
                "qzlog: c.log: No such file or directory\n"
                "b.log:3: note: 2 messages missed since 2026-11-18 03:00:00.000\n"
                "b.log: 3 files, 4 records, 0 faults, 2 messages missed\n"
                "  2 missed due to: No space left on device\n",
                2},
            {": > e.log; : > e.log.bak00; qzlog check e.log",
                "e.log: 2 files, 0 records, 0 faults, 0 messages missed\n"},
            {"qzlog check --explain b.log | sed -n 's/^    Make room/yes/p' | cut -d ' ' -f 1-4",
                "yes on the disk:\n"}});
    }

    // What a process that was killed during a roll-over leaves is no fault, however long it is.
    TEST_F(CheckTest, KnowsTheCopyOfAWholeLog)
    {
        std::string content = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n" +
                              MakeRecord("03:00:00.000", "starts and is silent", "99");
        for (int i = 0; i < 150'000; ++i)
            content +=
                MakeRecord("03:0" + std::to_string(i / 60'000) + ':' + std::to_string(100 + i / 1000 % 60).substr(1) +
                               '.' + std::to_string(1000 + i % 1000).substr(1),
                    "long");
        Put("long.log", content);
        Put("long.log.bak00", content);
        Check({{"qzlog check long.log", "long.log:2: note: the records of long.log.bak00 stand here once more\n"
                                        "long.log: 2 files, 300002 records, 0 faults, 0 messages missed\n"}});
    }
}
