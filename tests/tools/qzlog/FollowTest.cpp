// What a follower of logs shows, whatever happens to them between two looks and during one.

#include "Trouble.h"
#include "filesystem/TemporaryFolder.h"
#include "following/FollowedLogs.h"

#include <QzLog/Destination_DiskFile.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <utility>

using namespace QzBase::Literals;
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

TEST_F(FollowTest, EachRecordIsShownOnceWhateverHappensBetweenLooks)
{
    struct
    {
        char const* mBefore;
        std::string mShownBefore;
        char const* mBetween;
        std::string mShownAfter;
        std::string mTold;
    } const kCases[] = {
        {"new 1 2; roll; add 3", "1 2 3 ", "add 4", "4 ", ""},
        {"new 1", "1 ", "add 2; roll; add 3", "2 3 ", ""},
        {"new 1", "1 ", "roll", "", ""},
        {"new 1", "1 ", "add 2; roll; add 3 4; roll; add 5; roll; add 6", "2 3 4 5 6 ", ""},
        {"new 1; roll", "1 ", "add 2; roll; add 3; roll", "2 3 ", ""},
        {"new 1; roll; new 2; roll; new 3; roll; new 4", "1 2 3 4 ", "roll; add 5; roll; add 6; roll; add 7", "5 6 7 ",
            ""},
        {"new 1", "1 ", "add 2; roll; add 3; roll; add 4; roll; add 5; roll; add 6", "3 4 5 6 ",
            "was rolled over more often than it has back-ups since it was last read: records are missing"
            "lacks records from 2026-11-18 03:02:07.001 to 2026-11-18 03:02:07.003"},
        // Roll-overs that were killed behind the copy, one and two of them, and then the next that was not.
        {"new 1", "1 ", "add 2; copy; add 3", "2 3 ", ""},
        {"new 1; copy", "1 ", "add 2; copy; roll; add 3", "2 3 ", ""},
        {"new 1; copy; copy; add 2", "1 2 ", "copy; roll; add 3; copy", "3 ", ""},
        {"new 1", "1 ", "add 2; head -c 50 log > log.bak00", "2 ", ""},
        // Other back-ups with numbers that are not touched.
        {"new 1; cp log log.bak07; new 2", "1 2 ", "add 3; roll; add 4; roll; add 5; roll; add 6; roll; add 7",
            "4 5 6 7 ",
            "was rolled over more often than it has back-ups since it was last read: records are missing"
            "lacks records from 2026-11-18 03:02:07.002 to 2026-11-18 03:02:07.004"},
        {"new 1 2 3", "1 2 3 ", "new 4", "4 ", "was emptied"},
        {"new 1", "1 ", "new 2 3 4", "2 3 4 ", "was emptied"},
        {"new 1", "1 ", ": > log", "", "was emptied"},
        {"new 1", "1 ", "add 2; rm log", "2 ", "is gone"},
        {"new 1", "1 ", "add 2; rm log; add 3", "2 3 ", ""},
        {"new 1", "1 ", "add 2; mv log other; add 3", "2 3 ", ""},
        {"new 1", "1 ", "add 2; roll; add 3; mv log other; add 4", "2 3 4 ", ""},
        {": > log", "", "add 1; mv log other; add 2", "1 2 ", ""},
        {"true", "", "add 1", "1 ", "is there now"},
        {"true", "", "add 1; roll; add 2", "1 2 ", "is there now"},
        {"new 1; roll; rm log", "1 ", "add 2", "2 ", "is there now"},
        {"new 1", "1 ", "printf 'no record 2\\r\\n' >> log", "2 ", ""},
    };
    for (auto const& c : kCases)
    {
        SCOPED_TRACE(std::string(c.mBefore) + " | " + c.mBetween);
        Run("rm -f log* other");
        Run(c.mBefore);
        std::string told;
        GrowingSource const log = FollowLog(In("log"), [&told](std::string const& text) { told += text; });
        EXPECT_EQ(Look(log), c.mShownBefore);
        told.clear();
        Run(c.mBetween);
        EXPECT_EQ(Look(log), c.mShownAfter);
        EXPECT_EQ(told, c.mTold);
        EXPECT_EQ(Look(log), "") << "once only";
    }
}

TEST_F(FollowTest, GoesOnAfterARestart)
{
    struct
    {
        char const* mBefore;
        int mMost;
        char const* mBetween;
        std::string mShown;
        std::string mTold;
    } const kCases[] = {
        {"new 1 2 3", 1, "add 4", "2 3 4 ", ""},
        {"new 1", 9, "add 2; roll; add 3; roll; add 4", "2 3 4 ", ""},
        {"new 1 2; roll; new 3", 1, "roll; new 4", "2 3 4 ", ""},
        {"new 1; roll; new 2; roll", 9, "add 3", "3 ", ""},
        {"new 1; roll; new 2; roll", 1, "true", "2 ", ""},
        {"new 1", 9, "add 2; copy; add 3", "2 3 ", ""},
        {"new 1", 9, "rm log", "", "is not there yet"},
        {"true", 9, "add 1; roll; add 2", "1 2 ", ""},
        {"new 1 2", 1, "add 3; roll; add 4; roll; add 5; roll; add 6; roll; add 7", "4 5 6 7 ",
            "was rolled over more often than it has back-ups since it was last read: records are missing"
            "lacks records from 2026-11-18 03:02:07.001 to 2026-11-18 03:02:07.004"},
        {"new 1", 9, "new 2", "2 ", "was emptied"},
    };
    for (auto const& c : kCases)
    {
        SCOPED_TRACE(std::string(c.mBefore) + " | " + c.mBetween);
        Run("rm -f log*");
        Run(c.mBefore);
        {
            CursorFile cursor(In("cursor"), true);
            GrowingSource const log = FollowLog(
                In("log"), [](std::string const&) {}, {}, cursor.Find(In("log")));
            Look(log, c.mMost);
            cursor.Save({*log.mpGrowth->GetPosition()});
        }
        Run(c.mBetween);
        std::string told;
        GrowingSource const log = FollowLog(
            In("log"), [&told](std::string const& text) { told += text; }, {},
            CursorFile(In("cursor"), false).Find(In("x/../log")));
        EXPECT_EQ(Look(log), c.mShown);
        EXPECT_EQ(told, c.mTold);
        std::filesystem::remove(In("cursor"));
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

TEST_F(FollowTest, WhatIsReadGoesOnInTheBackupWhenTheLogIsEmptiedMeanwhile)
{
    // Longer than what is read at once.
    Run("new $(seq 100 999); for n in 1 2 3 4 5 6; do cat log log > twice; mv twice log; done");
    GrowingSource const log = FollowLog(In("log"), [](std::string const& text) { ADD_FAILURE() << text; });
    log.mpGrowth->Look();
    Record record;
    std::uint64_t count = 0;
    for (bool isRolled = false; log.mpRecords->Next(record); ++count)
        if (count == 1000 && !std::exchange(isRolled, true))
            Run("roll; add 7; roll; add 8");
    EXPECT_EQ(count, 64 * 901u);
    EXPECT_EQ(Look(log), "7 8 ");
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

TEST_F(FollowTest, ShowsEachRecordOfWritersAtFullSpeedOnceAndInOrder)
{
    constexpr int kWriters = 4;
    constexpr int kRecords = 12'000;
    std::string const path = In("log");
    std::vector<pid_t> writers;
    for (int writer = 0; writer < kWriters; ++writer)
    {
        pid_t const process = fork();
        ASSERT_GE(process, 0);
        if (process == 0)
        {
            {
                QzLog::Initializer const module;
                auto const destination = QzLog::GetDestination_DiskFile(WideIn("log").c_str());
                // So many that none is deleted before its time, however long the follower gets no processor.
                destination->SetMaxFileSize(40'000);
                destination->SetBackupCount(256);
                auto const header = QzLog::CreateMessageHeader();
                for (int i = 0; i < kRecords; ++i)
                {
                    std::string const text = "writer " + std::to_string(writer) + " record " + std::to_string(i) +
                                             (i % 7 == 0 ? "\r\nwith a second line" : "");
                    destination->WriteMessage(text.c_str(), *header);
                }
            }
            _exit(0);
        }
        writers.push_back(process);
    }

    GrowingSource const log = FollowLog(path,
        [](std::string const& text) { EXPECT_TRUE(text == "is not there yet" || text == "is there now") << text; });
    std::map<int, int> next;
    int whole = 0;
    std::size_t ended = 0;
    // Once more when all have ended.
    for (bool isLast = false; !isLast;)
    {
        isLast = ended == writers.size();
        while (ended < writers.size() && waitpid(writers[ended], nullptr, WNOHANG) > 0)
            ++ended;
        log.mpGrowth->Look();
        Record record;
        while (log.mpRecords->Next(record))
        {
            std::string const text(record.mText);
            std::size_t const at = text.find(" writer ");
            if (at == std::string::npos)
                continue;
            int writer = -1;
            int number = -1;
            char word[8];
            std::istringstream(text.substr(at + 8)) >> writer >> word >> number;
            ASSERT_EQ(number, next[writer]++) << text;
            whole += (number % 7 == 0) == (text.find("second line\r\n") != std::string::npos) ? 1 : 0;
        }
    }
    for (int writer = 0; writer < kWriters; ++writer)
        EXPECT_EQ(next[writer], kRecords);
    EXPECT_EQ(whole, kWriters * kRecords);
}
