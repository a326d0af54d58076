#include "ToolFixture.h"

#include "reading/LogBytes.h"
#include "reading/RecordSplitter.h"

#include <algorithm>
#include <random>
#include <vector>

namespace
{
    using namespace QzLogTool;
    using namespace QzTest;

    class ReadingTest : public ToolFixture
    {
    protected:
        static std::string MakeTime(unsigned int number)
        {
            char text[32];
            std::snprintf(text, sizeof text, "2026-11-18 03:%02u:%02u.%03u", number / 60000 % 60, number / 1000 % 60,
                number % 1000);
            return text;
        }

        static std::string WithoutLineEnds(std::string text)
        {
            std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
            return text;
        }
    };

    /// Whatever the places at which reading stops, however long the records are, and also behind one that is cut:
    /// nothing is lost or changed, and with a needle the records that hold it come and no others.
    TEST_F(ReadingTest, SplitsAnythingIntoRecords)
    {
        unsigned int const seed = std::random_device()();
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        auto const upTo = [&random](std::size_t most) { return random() % (most + 1); };

        std::vector<std::string> records;
        std::size_t const lengths[] = {0, 50, 300, 5000, 262144, 300000, RecordSplitter::kLargest + 100};
        int cuts = 0;
        for (unsigned int i = 0; i < 320; ++i)
        {
            std::string text = MakeTime(i) + " [HOST:a][SERVER:b][PID:1][THR:2][c][d][UID:0][SID:0][OID:0] ";
            std::size_t const kind = i == 100 || i == 319 ? 6 : upTo(i % 50 == 0 ? 5 : 3);
            std::size_t const length = kind == 6 ? lengths[kind] + upTo(1000000) : upTo(lengths[kind]);
            std::size_t const lineLength = 1 + upTo(2 * length);
            while (text.size() < length)
                (text += std::string(std::min(lineLength, length), 'x')) += "\r\n2026\r\n";
            std::size_t const header = text.find("[OID:0]") + 7;
            records.push_back(text + (upTo(20) == 0 || kind == 6 ? "NEEDLE\r\n" : "end\r\n"));
            if (i != 319 && upTo(10) == 0)
            {
                std::string& cut = records.back();
                cut.resize(header + upTo(cut.size() - header));
                cuts += !cut.ends_with('\n');
            }
        }
        std::string all = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";
        for (std::string const& record : records)
            all += record;
        Put("a.log", all);

        for (auto const& [arguments, text] : {std::pair("", ""), {"-F NEEDLE", "NEEDLE"}, {"-iF nEEdle", "NEEDLE"}})
        {
            std::string expected;
            for (std::string const& record : records)
                expected += record.find(text) == std::string::npos ? "" : record;
            std::string const shown = Run(std::string("qzlog view a.log ") + arguments).mOutput;
            EXPECT_TRUE(WithoutLineEnds(shown) == WithoutLineEnds(expected)) << arguments;
        }
        Check({
            {"qzlog view -n 1 --json a.log | tail -c 9", "NEEDLE\"}\n"},
            // A pipe does not go back, and standard input need not begin where its file does.
            {"qzlog view -F NEEDLE a.log > found; cat a.log | qzlog view -F NEEDLE - | cmp found -", ""},
            {"{ dd bs=36 count=1 of=/dev/null status=none; qzlog view -F NEEDLE - | cmp found -; } < a.log", ""},
            {"cat a.log | TMPDIR=/missing qzlog view -c -F NEEDLE - 2>&1 | grep -o '/missing.*directory'",
                "/missing: No such file or directory\n"},
            {"qzlog check a.log | tail -1",
                "a.log: 1 file, 320 records, " + std::to_string(cuts) + " faults, 0 messages missed\n", 0},
        });
    }

    TEST_F(ReadingTest, FindsAndShowsWhatStandsWhereALongLineIsCut)
    {
        std::string line = MakeTime(1) + " [HOST:a][SERVER:b][PID:1][THR:2][c][d][UID:0][SID:0][OID:0] ";
        line.resize(RecordSplitter::kLargest - RecordSplitter::kLongestHeader - 400, 'x');
        std::string text;
        for (int i = 1000; i < 1100; ++i)
            text += "\xE2\x82\xAC" + std::to_string(i);
        Put("a.log", line + text + std::string(5000, 'y') + "\r\n");
        EXPECT_EQ(Run("qzlog view -c -F '" + text + "' a.log").mOutput, "1\n");
        EXPECT_EQ(
            Run("qzlog view --json a.log | tail -c 6003 | head -c 1000 | sed 's/.u20ac/\xE2\x82\xAC/g'").mOutput, text);
    }

    /// A reader that has begun with a log reads that log to its end, in order, wherever roll-overs have moved it, and
    /// all back-ups that were not read yet, those that have come meanwhile included.
    TEST_F(ReadingTest, LosesNothingInRollOvers)
    {
        constexpr unsigned int kBefore = 9000;
        for (unsigned int const readBefore : {0U, 1U, 2500U, 5000U, kBefore - 1})
        {
            SCOPED_TRACE(readBefore);
            Clear();
            auto const log = OpenLog(std::to_string(readBefore) + ".log", 1000000000);
            for (unsigned int i = 0; i < kBefore; ++i)
            {
                log->SetMaxFileSize(i == 4000 ? 1 : 1000000000);
                Write(*log, {.mTime = MakeTime(i).c_str()}, std::string(400, '.') + " n" + std::to_string(i));
            }

            RecordSplitter reader(
                std::make_unique<LogBytes>(In(std::to_string(readBefore) + ".log"), LogBytes::Files::WithBackups));
            Record record;
            for (unsigned int i = 0; i < readBefore; i += record.mKind == Record::Kind::Message)
                ASSERT_TRUE(reader.Next(record));
            log->SetMaxFileSize(1);
            for (unsigned int i = kBefore; i < kBefore + 3; ++i)
                Write(*log, {.mTime = MakeTime(i).c_str()}, "- n" + std::to_string(i));

            // What was added to a log while a back-up was being read is read too.
            unsigned int next = readBefore;
            while (reader.Next(record))
            {
                bool const isHead = record.mKind == Record::Kind::Head;
                EXPECT_TRUE(isHead || record.mText.ends_with(" n" + std::to_string(next++) + "\r\n")) << record.mText;
            }
            EXPECT_EQ(next, readBefore < 4000 ? kBefore + 3 : kBefore);
        }
    }

    TEST_F(ReadingTest, ReadsWhatWasCompressedInItsPlace)
    {
        if (Run("gzip -V && xz -V && zstd -V").mExitCode != 0)
            GTEST_SKIP() << "needs gzip, xz and zstd";
        auto const log = OpenLog("a.log", 100000);
        std::string const long300k(300000, 'x');
        for (unsigned int i = 0; i < 5; ++i)
            Write(*log, {.mTime = MakeTime(i).c_str()}, long300k + " #" + std::to_string(i));
        char const* const all = "#0\n#1\n#2\n#3\n#4\n";
        Check({
            {"gzip -k a.log.bak03; qzlog view a.log | grep -o '#.*'", all},
            {"gzip -f a.log.bak03; xz a.log.bak02; zstd -q --rm a.log.bak01; qzlog view a.log | grep -o '#.*'", all},
            {"qzlog view --cursor-file c a.log | grep -o '#.*'; qzlog view --cursor-file c a.log", all, 1},
            {"qzlog check a.log", "a.log: 5 files, 5 records, 0 faults, 0 messages missed\n"},
            {"cat a.log.bak03.gz a.log.bak03.gz > two; qzlog check -q two", "two:3: a head in the middle of the file\n",
                1},
            {"head -c 300 a.log.bak03.gz > cut.gz; qzlog view -c cut.gz",
                "qzlog: cut.gz: the compressed data end too early (are they still being written?), at byte 300; what "
                "stands before was read, but for its last record\n0\n",
                2},
            {"(cat a.log.bak01.zst; echo x) > bad; qzlog view -c bad 2>&1 | sed 's/byte [0-9]*/there/'",
                "qzlog: bad: the compressed data are damaged near there; what stands before was read, but for its "
                "last record\n0\n"},
        });
    }

    /// What a roll-over left that was killed or met a full disk stands once more in the next file.
    TEST_F(ReadingTest, SkipsWhatFailedRollOversLeft)
    {
        auto const log = OpenLog("a.log", 100000);
        for (unsigned int i = 0; i < 100; ++i)
            Write(*log, {.mTime = MakeTime(i).c_str()}, "- n" + std::to_string(i));
        std::string const content = Get("a.log");
        std::string const alone = Run("qzlog view a.log").mOutput;
        Put("a.log.bak03", content);
        Put("a.log.bak02", content.substr(0, 5000));
        Put("a.log.bak01", content.substr(0, 36));
        Put("a.log.bak00", content.substr(0, 200));
        Put("a.log.bak0", "no back-up");
        std::filesystem::create_directory(In("a.log.bak07"));
        Check({
            {"qzlog view a.log", alone},
            {"qzlog check a.log | tail -1", "a.log: 5 files, 247 records, 2 faults, 0 messages missed\n"},
        });
    }
}
