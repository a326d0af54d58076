#include <QzLog/Timestamp.h>

#include "os/Calls.h"

#include <gtest/gtest.h>

#include <tuple>

namespace
{
    using QzLog::Timestamp_Impl;

    constexpr char kTime[] = "2026-11-18 03:02:07.123";

    TEST(Timestamp, TakesTheLocalTimeWithItsOffset)
    {
        QzOs::Calls const calls = QzOs::gCalls;
        static int zoneMinutes;
        static std::int64_t now = 1'794'988'927'123;
        QzOs::gCalls.mpGetUTCMilliseconds = [] { return now; };
        QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return zoneMinutes; };
        // Each in a minute of its own: the system is asked for the offset once a minute.
        for (auto const& [zone, expected] :
            {std::pair(-210, "2026-11-18 04:32:07.123-03:30"), {0, "2026-11-18 08:03:07.123"}})
        {
            zoneMinutes = zone;
            Timestamp_Impl timestamp;
            timestamp.SetToNowLocal();
            now += 60'000;
            EXPECT_STREQ(timestamp.ToISO8601String().c_str(), expected);
        }
        QzOs::gCalls = calls;
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
