#include <QzLog/Timestamp.h>

#include "os/Restore.h"

#include <gtest/gtest.h>

namespace
{
    using QzDataType::DateTime;
    using QzLog::Timestamp_Impl;

    constexpr char kTime[] = "2026-11-18 03:02:07.123";

    TEST(Timestamp, NowHasTheOffsetOfItsMinute)
    {
        QzTest::Restore const restore;
        static std::int64_t gClock = 0;
        static int gZone = 0;
        static int gZoneQuestions = 0;
        QzOs::gCalls.mpGetUTCMilliseconds = [] { return gClock; };
        QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t)
        {
            ++gZoneQuestions;
            return gZone;
        };
        // Summer time ends; a zone at each end; before 1970; and the clock is set back.
        std::tuple<std::int64_t, int, char const*> const rows[] = {{29'881'495, 120, "2026-10-25 02:55:00.000+02:00"},
            {29'881'500, 60, "2026-10-25 02:00:00.000+01:00"}, {0, -720, "1969-12-31 12:00:00.000-12:00"},
            {10, -210, "1969-12-31 20:40:00.000-03:30"}, {-1, 840, "1970-01-01 13:59:00.000+14:00"},
            {5, 0, "1970-01-01 00:05:00.000"}};
        for (auto const& [minute, zone, text] : rows)
        {
            gZone = zone;
            gZoneQuestions = 0;
            gClock = minute * 60'000;
            EXPECT_STREQ(DateTime::Now().ToString().c_str(), text);
            Timestamp_Impl timestamp;
            timestamp.SetToNowLocal();
            EXPECT_STREQ(timestamp.ToISO8601String().c_str(), text);
            gClock += 59'999;
            DateTime const now = DateTime::Now();
            EXPECT_EQ(now.GetMillisecond(), 999);
            EXPECT_EQ(gZoneQuestions, 1) << "more than one question a minute";
            EXPECT_EQ((now - DateTime::NowUTC()).GetTotalMilliseconds(), 0) << "distances are those in UTC";
        }
    }

    TEST(Timestamp, ReadsItsTextForm)
    {
        constexpr char kUnchanged[] = "2000-01-02 03:04:05.006+07:08";
        // What follows the time, how much of that is read, and as which offset. Null: all of it is refused.
        std::tuple<std::string, unsigned int, char const*> const offsets[] = {{" [HOST:", 0, ""},
            {"-03:30", 6, "-03:30"}, {"+14:59x", 6, "+14:59"}, {"+ 05: +030.", 10, "+05:30"},
            {"+65541:30", 9, "+05:30"}, {"+-4294967295:1", 14, "+01:01"}, {"+:30", 4, "+00:30"}, {"+15:00", 0, nullptr},
            {"+10:60", 0, nullptr}, {"+10", 0, nullptr}, {"+-5:00", 0, nullptr}, {"+ :30", 0, nullptr},
            {"+18446744073709551621:00", 0, nullptr}};
        for (auto const& [text, consumed, offset] : offsets)
        {
            SCOPED_TRACE(text);
            Timestamp_Impl timestamp;
            timestamp.FromISO8601String(kUnchanged);
            EXPECT_EQ(timestamp.FromISO8601String((kTime + text).c_str()), offset ? 23 + consumed : 0);
            EXPECT_EQ(timestamp.ToISO8601String().c_str(), offset ? kTime + std::string(offset) : kUnchanged);
        }
        // Without a time.
        Timestamp_Impl timestamp;
        EXPECT_EQ(timestamp.FromISO8601String("+05:30"), 6u);
        EXPECT_STREQ(timestamp.ToISO8601String().c_str(), "1899-12-30 00:00:00.000+05:30");
        EXPECT_EQ(timestamp.FromISO8601String("no time"), 0u);
        EXPECT_STREQ(timestamp.ToISO8601String().c_str(), "1899-12-30 00:00:00.000");
    }
}
