#include "ToolFixture.h"

#include <cctype>

namespace
{
    using namespace QzTest;

    class ViewTest : public ToolFixture
    {
    protected:
        /// Two logs; each record of the first stands in a file of its own.
        ViewTest()
        {
            auto const server = OpenLog("server.log", 1);
            Write(*server, {.mTime = "2026-11-18 03:00:01.000", .mUser = "alice", .mSession = "s1", .mObject = "o1"},
                "#1 start up");
            Write(*server, {.mTime = "2026-11-18 03:00:03.000", .mDispatcher = "Error", .mMessageID = 42},
                "#2 failed\n\nwith cause one\nCause Two");
            Write(*server, {.mTime = "2026-11-18 03:00:05.000", .mLogger = "Network", .mUser = "bob"},
                "#3 Caf\xC3\xA9 [Kernel][Error] \x1B[31m\x9B\xC2\x9B\x7F\xC3\x9B");
            auto const other = OpenLog("other.log", 100000);
            Write(*other,
                {.mTime = "2026-11-18 05:00:02.000+02:00",
                    .mLogger = "Query",
                    .mProcess = 12,
                    .mThread = 22,
                    .mHost = "ws02",
                    .mServer = "Standby"},
                "#4 select");
            Write(*other, {.mTime = "2026-11-18 05:00:03.000+02:00", .mLogger = "Query", .mHost = "ws02"}, "#5 done");
            QzLog::Timestamp_Impl now;
            now.SetToNowLocal();
            Write(*OpenLog("now.log", 100000), {.mTime = now.ToISO8601String().c_str()}, "#6 now");
        }

        /// The numbers behind "#" in a text.
        static std::string FindNumbers(std::string const& text)
        {
            std::string numbers;
            for (std::size_t i = 0; i + 1 < text.size(); ++i)
                if (text[i] == '#' && std::isdigit(static_cast<unsigned char>(text[i + 1])))
                    (numbers += numbers.empty() ? "" : " ") += text[i + 1];
            return numbers;
        }
    };

    TEST_F(ViewTest, ShowsWhatIsWantedInOrder)
    {
        struct
        {
            char const* mCommand;
            char const* mNumbers;
        } const cases[] = {
            {"qzlog view server.log", "1 2 3"},
            {"qzlog view server.log other.log", "1 4 2 5 3"},
            {"qzlog view server.log* other.log other.log", "1 4 2 5 3"},
            {"qzlog view --no-backups server.log", "3"},
            {"qzlog view server.log.bak00", "2"},
            {"ln server.log.bak00 gone.log.bak00; qzlog view gone.log", "2"},
            {"qzlog view --logger Kernel server.log other.log", "1 2"},
            {"qzlog view --logger 'Q*' --logger Network server.log other.log", "4 5 3"},
            {"qzlog view --dispatcher Error server.log", "2"},
            {"qzlog view --message-id 0x2a server.log", "2"},
            {"qzlog view --message-id 0 server.log", "1 3"},
            {"qzlog view --user alice --user bob server.log", "1 3"},
            {"qzlog view --user '' server.log", "2"},
            {"qzlog view --session 's*' --object o1 server.log", "1"},
            {"qzlog view --process 12 --thread 22 --host ws02 --server Standby server.log other.log", "4"},
            {"qzlog view -F 'Cause Two' server.log", "2"},
            {"qzlog view -F HOST server.log", ""},
            {"qzlog view -iF 'cause TWO' server.log", "2"},
            {"qzlog view -iE 'WITH.*two|UP$' server.log", "1"},
            {"qzlog view -E '^#[13] .*p$' server.log", "1"},
            {"qzlog view -E '^Cause' server.log", "2"},
            {"qzlog view -E 'one\\nCause' server.log", "2"},
            {"qzlog view -E 'a|select' -E zzz server.log other.log", "1 4 2 3"},
            {"qzlog view -v --logger Kernel server.log other.log", "4 5 3"},
            {"qzlog view -v -F start --since 03:00 --since '2026-11-18 03:00:03' server.log", "2 3"},
            {"qzlog view --since '2026-11-18 03:00:02' --until '2026-11-18T03:00:05Z' server.log other.log", "4 2 5"},
            {"qzlog view --since '2026-11-18 06:00:05+03:00' server.log", "3"},
            {"qzlog view --since '1 hour 30min ago' now.log", "6"},
            {"qzlog view --until 90m --until -1m now.log", ""},
            {"qzlog view --since \"$(date -d '1 hour' +%H:%M)\" now.log", "6"},
            {"qzlog view --since yesterday --until 9999-12-31 now.log", "6"},
            {"qzlog view -n 2 server.log other.log", "5 3"},
            {"qzlog view -m 2 server.log other.log", "1 4"},
            {"qzlog view -B 1 -F select server.log other.log", "1 4"},
            {"qzlog view -A 2 -F select -m 1 server.log other.log", "4 2 5"},
            {"qzlog view -C 1 -E 'start|done' server.log other.log", "1 4 2 5 3"},
            {"qzlog view -C 9 -A 0 --user bob server.log other.log", "1 4 2 5 3"},
            {"mkdir -p f/g && cp other.log f/ && cp server.log.bak00 f/g/x.log.bak03 && qzlog view f", "4 5"},
            {"gzip -c now.log > f/g/n && seq 99 > f/g/no && qzlog view -r f", "4 2 5 6"},
        };
        for (auto const& testCase : cases)
        {
            SCOPED_TRACE(testCase.mCommand);
            Outcome const outcome = Run(testCase.mCommand);
            EXPECT_EQ(FindNumbers(outcome.mOutput), testCase.mNumbers) << outcome.mOutput;
            EXPECT_EQ(outcome.mExitCode, *testCase.mNumbers ? 0 : 1);
        }
    }

    TEST_F(ViewTest, ShowsRecordsInEachForm)
    {
        Put("loose.log",
            "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\nnobody's\r\nline\r\n"
            "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:2][c][d][UID:0][SID:0][OID:0] #1 a\r\nb\x80\r\n"
            "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n2026-11-18 03:00:01.000 [HOST:broken\r\nend");
        Check({
            {"qzlog view -F failed server.log",
                "2026-11-18 03:00:03.000 [HOST:ws01][SERVER:Engine][PID:11][THR:21][Kernel][Error][0x0000002A]"
                "[UID:0][SID:0][OID:0] #2 failed\nwith cause one\nCause Two\n"},
            {"qzlog view -F Two --json server.log",
                R"({"dispatcher":"Error","host":"ws01","logger":"Kernel","message_id":"0x0000002A","pid":"11",)"
                R"("server":"Engine","thr":"21","time":"2026-11-18 03:00:03.000",)"
                R"("message":"#2 failed\nwith cause one\nCause Two"})"
                "\n"},
            {"qzlog view --user bob --json server.log",
                R"({"dispatcher":"Trace","host":"ws01","logger":"Network","pid":"11","server":"Engine","thr":"21",)"
                R"("time":"2026-11-18 03:00:05.000","uid":"bob",)"
                R"("message":"#3 Caf\u00e9 [Kernel][Error] \u001b[31m\ufffd\u009b\u007f\u00db"})"
                "\n"},
            {"qzlog view --user bob server.log | tail -c 12", "\x1B[31m\x9B\xC2\x9B\x7F\xC3\x9B\n"},
            {"qzlog view -E 'st..t' --color=always server.log",
                "\x1B[36m2026-11-18 03:00:01.000\x1B[0m\x1B[2m [HOST:ws01][SERVER:Engine][PID:11][THR:21]\x1B[0m"
                "\x1B[32m[Kernel][Trace]\x1B[0m\x1B[2m[UID:alice][SID:s1][OID:o1]\x1B[0m #1 \x1B[1;7mstart\x1B[0m up"
                "\x1B[0m\n"},
            {"qzlog view -F broken --color=always loose.log",
                "\x1B[33m2026-11-18 03:00:01.000 [HOST:\x1B[1;7mbroken\x1B[0m\x1B[0m\nend\x1B[0m\n"},
            {"qzlog view loose.log",
                "nobody's\nline\n"
                "2026-11-18 03:00:01.000 [HOST:a][SERVER:b][PID:1][THR:2][c][d][UID:0][SID:0][OID:0] #1 a\nb\x80\n"
                "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\n2026-11-18 03:00:01.000 [HOST:broken\nend\n"},
            {"qzlog view loose.log --json -F line -F 'a\r\nb' -F broken",
                R"({"message":"nobody's\nline"})"
                "\n"
                R"({"dispatcher":"d","host":"a","logger":"c","pid":"1","server":"b","thr":"2",)"
                R"("time":"2026-11-18 03:00:01.000","message":"#1 a\nb\ufffd"})"
                "\n"
                R"({"message":"2026-11-18 03:00:01.000 [HOST:broken\nend"})"
                "\n"},
            {"printf 'a\\0\\1\\177\\r\\n' | qzlog view --json -", "{\"message\":\"a\\u0000\\u0001\\u007f\"}\n"},
            {"qzlog view --json -A 1 -F start server.log | tail -1 | grep -o '\"time.*true'",
                "\"time\":\"2026-11-18 03:00:03.000\",\"context\":true\n"},
            {"qzlog view -A 1 -E 'start|done' server.log other.log | sed 's/.*OID.*#/#/'",
                "#1 start up\n#4 select\n--\n#5 done\n#3 Caf\xC3\xA9 [Kernel][Error] "
                "\x1B[31m\x9B\xC2\x9B\x7F\xC3\x9B\n"},
            {"qzlog view -C 0 -E 'start|done' server.log other.log | sed 's/.*OID.*#/#/'",
                "#1 start up\n--\n#5 done\n"},
            {"qzlog view --utc --until '2026-11-18 03:00:02.5' other.log",
                "2026-11-18 03:00:02.000 [HOST:ws02][SERVER:Standby][PID:12][THR:22][Query][Trace]"
                "[UID:0][SID:0][OID:0] #4 select\n"},
            {"TZ=EST5 qzlog view --json --utc --since '2026-11-18 03:00:03' other.log | grep -o '\"time.*000\"'",
                "\"time\":\"2026-11-18 03:00:03.000\"\n"},
            {"qzlog view -c server.log other.log", "5\n"},
            {"qzlog view -c -C 2 -F failed server.log", "1\n"},
            {"qzlog view -c -n 2 server.log", "2\n"},
            {"qzlog view -q -F failed server.log", ""},
        });
    }

    /// What a terminal is shown: colours unless they are unwanted, and nothing that steers it from within a message.
    TEST_F(ViewTest, KnowsTerminals)
    {
        if (Run("script --version | grep util-linux").mExitCode != 0)
            GTEST_SKIP() << "needs the program script of util-linux";
        // More than a pipe holds.
        Put("bad.log", std::string(200'000, 'x') + "\r\n2026-11-18 03:00:01.000 [HOST:\x1B[31m\r\n");
        char const* const shown = "[Error] ^[[31m^[[^[[^?\xC3\x9B";
        struct
        {
            char const* mEnvironment;
            char const* mArguments;
            bool mHasColor;
            char const* mShown;
        } const cases[] = {
            {"TERM=xterm", "view --user bob server.log", true, shown},
            {"TERM=xterm NO_COLOR=1", "view --user bob server.log", false, shown},
            {"TERM=dumb", "view --user bob server.log", false, shown},
            {"TERM=dumb", "view -D error server.log", false, "lists the names that there are"},
            {"TERM=xterm PAGER='sed s/^/PAGED:/'", "view --user bob server.log", true, "PAGED:"},
            {"TERM=xterm", "view --json --user bob server.log", false, R"(\u001b[31m\ufffd\u009b\u007f\u00db")"},
            {"TERM=xterm", "check bad.log", false, "[HOST:^[[31m'"},
            {"TERM=xterm PAGER=missing", "view -F start server.log", false, "pager could not be started"},
            {"TERM=xterm PAGER=true", "view bad.log && echo quit", false, "quit"},
        };
        for (auto const& testCase : cases)
        {
            SCOPED_TRACE(testCase.mArguments);
            std::string const output = Run(std::string(testCase.mEnvironment) + " script -qec \"'" QZLOG_TOOL "' " +
                                           testCase.mArguments + "\" /dev/null")
                                           .mOutput;
            EXPECT_EQ(output.find("\x1B[36m") != std::string::npos, testCase.mHasColor) << output;
            EXPECT_NE(output.find(testCase.mShown), std::string::npos) << output;
        }
    }

    TEST_F(ViewTest, TellsWhatIsWrong)
    {
        // More than a pipe holds, and more than is kept of the context.
        Put("long.log", std::string(20000000, '\n'));
        struct
        {
            char const* mCommand;
            int mExitCode;
            char const* mPart;
        } const cases[] = {
            {"qzlog view missing.log server.log", 2, "missing.log: No such file or directory\n2026"},
            {"qzlog view failed server.log", 2, "failed: No such file or directory; --text searches for a text\n2026"},
            {"mkdir -p e/f; cp server.log e/f; qzlog view e server.log", 2,
                "--recursive looks into its folders too\n2026"},
            {"qzlog view -f e", 2, "there is no log to follow"},
            {"qzlog view -n 1 -C 1 server.log", 2, "--tail excludes --context"},
            {"qzlog view --cursor-file c -A 1 server.log", 2, "--cursor-file"},
            {"{ cat long.log; tail -c +37 other.log; } | qzlog view -B 1 -F select -", 2, "a match were left out (1)"},
            {"qzlog view -q missing.log server.log", 0, "missing.log: No such"},
            {"qzlog view --message-id 4294967296 server.log", 2, "--message-id: '4294967296' is no number"},
            {"qzlog view --since '5 10m' server.log", 2, "--since: '5 10m' is no time"},
            // What comes after a value is no further one.
            {"qzlog mask --key a server.log </dev/null", 2, "was not expected: server.log"},
            {"qzlog mask -E '' </dev/null", 2, "--regex: is empty"},
            {"qzlog view --cursor-file '' server.log", 2, "--cursor-file: is empty"},
            {"mkdir c.new; qzlog view --cursor-file c server.log 2>&1 | head -1", 0, "c.new: Is a directory"},
            {"qzlog nonsense", 2, "'nonsense' is no command"},
            {"qzlog view --bogus", 2, "'--bogus' is no option of view (see qzlog view --help)"},
            {"qzlog view --since", 2, "--since: a value is missing"},
            {"qzlog view --help >/dev/full", 2, "standard output: No space left on device"},
            {"qzlog write -L 'a]b' new.log </dev/null", 2, "--logger: a header cannot hold ']'"},
            {"qzlog view -b x --topic a server.log", 2, "LOG excludes --brokers"},
            {"qzlog view -E '[' server.log", 2, "'[' is no regular expression: missing ]"},
            {"qzlog stats --slot 0s server.log", 2, "'0s' is no span"},
            {"qzlog view server.log >/dev/full", 2, "standard output: No space left on device"},
            {"qzlog view long.log | head -1 | wc -l", 0, "1\n"},
            // What the commands that read standard input make of it: a pipe need not end.
            {"mkfifo p q; qzlog view - <p >q & exec 3>p; cat other.log >&3; head -1 <q", 0, "#4 select"},
            {"printf 'one\\r\\n\\ntwo\\0x\\nlast' | qzlog write -D Error -u alice --max-size 1b --backups 3 a.log && "
             "qzlog view -u alice -D Error a.log | sed 's/.*\\] //' | tr '\\n' '|'",
                0, "one||two\xEF\xBF\xBDx|last|"},
            {": > a.log.bak01; qzlog write --max-size 9 a.log", 2, "a.log: its servers keep more than one back-up"},
            {"mkdir full.log.bak00; printf 'one\\ntwo\\n' | qzlog write --max-size 1 full.log", 2,
                "'full.log.bak00'. Is a directory\r\nqzlog: full.log: line 2 of the input could not be written"},
            {"printf 'x a=\"1\" b=\"2\"\\n\\0 a=\"3\"' | qzlog mask -a a -a b -w % 2>/dev/null | tr '\\0' 0", 0,
                "x a=\"%\" b=\"%\"\n0 a=\"%\""},
            {"printf 'x a=\"1\\n2\"\\n a=\"3\"' | qzlog mask -l -a a", 0,
                "x a=\"1\n2\"\n a=\"***\"qzlog: mask: 1 value was replaced (--attribute 1)\n"},
        };
        for (auto const& testCase : cases)
        {
            SCOPED_TRACE(testCase.mCommand);
            Outcome const outcome = Run(std::string("{ ") + testCase.mCommand + "; }");
            EXPECT_EQ(outcome.mExitCode, testCase.mExitCode);
            EXPECT_NE(outcome.mOutput.find(testCase.mPart), std::string::npos) << outcome.mOutput;
        }
    }
}
