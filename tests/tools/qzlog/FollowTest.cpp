// What a follower of logs shows, whatever happens to them between two looks and during one.

#include "Trouble.h"
#include "filesystem/TemporaryFolder.h"
#include "following/FollowedLogs.h"

#include <algorithm>
#include <cstdlib>

using namespace QzLogTool;

namespace
{
    class FollowTest : public QzTest::TemporaryFolder
    {
    protected:
        /// Runs a script in the folder. There, "new N..." empties the log and writes records into it, "add N..." adds
        /// some, "roll" copies and empties it as a writer does, with three back-ups, and "copy" gets no further than
        /// the copy.
        void Run(std::string const& script) const
        {
            static constexpr char kTools[] = R"(set -e
                add() { [ -s log ] || printf '\357\273\277# Tarnwickforge Log version 2.0\r\n' >> log
                    for n in "$@"; do printf '2026-11-18 03:02:07.%03d [HOST:h][SERVER:s][PID:1][THR:1][L][D]' $n
                    printf '[UID:0][SID:0][OID:0] record %d\r\n' $n; done >> log; }
                new() { : > log; add "$@"; }
                copy() { rm -f log.bak02; for n in 1 0; do
                    [ ! -f log.bak0$n ] || mv log.bak0$n log.bak0$((n + 1)); done; cp log log.bak00; }
                roll() { copy; : > log; }
                )";
            ASSERT_EQ(std::system(("cd '" + In("") + "'\n" + kTools + script).c_str()), 0) << script;
        }

        FollowTest() { setenv("TZ", "UTC", 1); }

        /// The numbers of the records that a look finds, or of the first ones.
        static std::string Look(GrowingSource const& log, int most = 1000)
        {
            std::string numbers;
            log.mpGrowth->Look();
            Record record;
            for (; most > 0 && log.mpRecords->Next(record); log.mpGrowth->Pass())
                if (record.mKind != Record::Kind::Head && most-- > 0)
                    numbers += std::string(record.mText.substr(record.mText.rfind(' ') + 1));
            std::erase(numbers, '\r');
            std::replace(numbers.begin(), numbers.end(), '\n', ' ');
            return numbers;
        }
    };
}

TEST_F(FollowTest, EachRecordIsShownOnceWhateverHappensBetweenLooksOrRuns)
{
    // How many records are read in front of a restart, or that there is none.
    constexpr int kAll = 999;
    constexpr int kNoRestart = 1000;
    std::string const lost =
        "was rolled over more often than it has back-ups since it was last read: records are missing"
        "lacks records from 2026-11-18 03:02:07.00";
    struct
    {
        char const* mBefore;
        int mMost;
        std::string mShownBefore;
        char const* mBetween;
        std::string mShownAfter;
        std::string mTold;
    } const kCases[] = {
        {"new 1", kNoRestart, "1 ", "add 2; roll; add 3; roll; add 4; roll; add 5; roll; add 6", "3 4 5 6 ",
            lost + "1 to 2026-11-18 03:02:07.003"},
        // FuzzFollow tries roll-overs as such, deletions and restarts; here is what it does not.
        // Roll-overs that were killed behind the copy, one and two of them, and then the next that was not.
        {"new 1", kNoRestart, "1 ", "add 2; copy; add 3", "2 3 ", ""},
        {"new 1; copy", kNoRestart, "1 ", "add 2; copy; roll; add 3", "2 3 ", ""},
        {"new 1; copy; copy; add 2", kNoRestart, "1 2 ", "copy; roll; add 3; copy", "3 ", ""},
        {"new 1", kNoRestart, "1 ", "add 2; head -c 50 log > log.bak00", "2 ", ""},
        // Other back-ups with numbers that are not touched.
        {"new 1; cp log log.bak07; new 2", kNoRestart, "1 2 ",
            "add 3; roll; add 4; roll; add 5; roll; add 6; roll; add 7", "4 5 6 7 ",
            lost + "2 to 2026-11-18 03:02:07.004"},
        {"new 1 2 3", kNoRestart, "1 2 3 ", "new 4", "4 ", "was emptied"},
        {"new 1", kNoRestart, "1 ", "new 2 3 4", "2 3 4 ", "was emptied"},
        {"new 1", kNoRestart, "1 ", "add 2; rm log", "2 ", "is gone"},
        {"new 1", kNoRestart, "1 ", "add 2; roll; add 3; mv log other; add 4", "2 3 4 ", ""},
        {": > log", kNoRestart, "", "add 1; mv log other; add 2", "1 2 ", ""},
        {"true", kNoRestart, "", "add 1; roll; add 2", "1 2 ", "is there now"},
        {"new 1; roll; rm log", kNoRestart, "1 ", "add 2", "2 ", "is there now"},
        {"new 1", kNoRestart, "1 ", "printf 'no record 2\\r\\n' >> log", "2 ", ""},
        {"new 1 2 3", 1, "1 ", "add 4", "2 3 4 ", ""},
        {"new 1 2; roll; new 3", 1, "1 ", "roll; new 4", "2 3 4 ", ""},
        {"new 1; roll; new 2; roll", 1, "1 ", "true", "2 ", ""},
        {"new 1", kAll, "1 ", "add 2; copy; add 3", "2 3 ", ""},
        {"new 1", kAll, "1 ", "rm log", "", "is not there yet"},
        {"new 1 2", 1, "1 ", "add 3; roll; add 4; roll; add 5; roll; add 6; roll; add 7", "4 5 6 7 ",
            lost + "1 to 2026-11-18 03:02:07.004"},
        {"new 1", kAll, "1 ", "new 2", "2 ", "was emptied"},
    };
    for (auto const& c : kCases)
    {
        SCOPED_TRACE(std::string(c.mBefore) + " | " + c.mBetween);
        Run("rm -f log* other cursor");
        Run(c.mBefore);
        std::string told;
        auto const tell = [&told](std::string const& text) { told += text; };
        CursorFile cursor(In("cursor"), true);
        GrowingSource log = FollowLog(In("log"), tell, {}, cursor.Find(In("log")));
        EXPECT_EQ(Look(log, c.mMost), c.mShownBefore);
        if (c.mMost != kNoRestart)
        {
            cursor.Save({*log.mpGrowth->GetPosition()});
            log = FollowLog(In("log"), tell, {}, CursorFile(In("cursor"), false).Find(In("x/../log")));
        }
        told.clear();
        Run(c.mBetween);
        EXPECT_EQ(Look(log), c.mShownAfter);
        EXPECT_EQ(told, c.mTold);
        EXPECT_EQ(Look(log), "") << "once only";
    }
    Run("echo '{}' > cursor");
    EXPECT_THROW((CursorFile{In("cursor"), false}), Trouble);
}

TEST_F(FollowTest, ALogThatComesDuringALookIsLeftForTheNext)
{
    // The follower speaks of the folder between its glance at the log and the listing of the back-ups.
    Run("mkdir log");
    GrowingSource const log = FollowLog(In("log"),
        [this](std::string const& text)
        {
            if (text == "is no file")
                Run("rmdir log; new 1 2 3; head -c 50 log > log.bak00");
        });
    EXPECT_EQ(Look(log), "");
    Run("tail -c +51 log >> log.bak00; new 4");
    EXPECT_EQ(Look(log), "1 2 3 4 ");
}

TEST_F(FollowTest, AWriterThatHeldADeletedFileIsReadToTheEnd)
{
    Run("new 1");
    GrowingSource const log = FollowLog(In("log"), [](std::string const&) {});
    EXPECT_EQ(Look(log), "1 ");
    Run("ln log other; rm log; add 2");
    EXPECT_EQ(Look(log), "2 ");
    Run("mv log log2; mv other log; add 3; mv log other; mv log2 log; add 4");
    EXPECT_EQ(Look(log), "3 4 ");
}
