#include <QzLog/Timestamp.h>

#include "os/Calls.h"

#include <gtest/gtest.h>

#include <utility>

namespace
{
    using QzLog::Timestamp_Impl;

    constexpr char kEmpty[] = "1899-12-30 00:00:00.000";

    TEST(Timestamp, TakesTheLocalTimeWithItsOffset)
    {
        QzOs::Calls const calls = QzOs::gCalls;
        static int zoneMinutes;
        static std::int64_t now = 1'794'988'927'123;
        QzOs::gCalls.mpGetUTCMilliseconds = [] { return now; };
        QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return zoneMinutes; };
        // Each in a minute of its own: the system is asked for the offset once a minute.
        for (auto const& [zone, expected] : {
                 std::pair(-300, "2026-11-18 03:02:07.123-05:00"),
                 std::pair(0, "2026-11-18 08:03:07.123"),
                 std::pair(-210, "2026-11-18 04:34:07.123-03:30"),
                 std::pair(345, "2026-11-18 13:50:07.123+05:45"),
             })
        {
            zoneMinutes = zone;
            Timestamp_Impl timestamp;
            timestamp.SetToNowLocal();
            now += 60'000;
            EXPECT_STREQ(timestamp.ToISO8601String().c_str(), expected);
            EXPECT_EQ(timestamp.mOffsetIsPositive, zone > 0);
        }
        QzOs::gCalls = calls;
    }

    TEST(Timestamp, ReadsItsTextForm)
    {
        constexpr char kUnchanged[] = "2000-01-02 03:04:05.006+07:08";
        struct
        {
            char const* mpText;
            unsigned int mConsumed;
            char const* mpExpected;
        } const cases[] = {
            {"2026-11-18 03:02:07.123 [HOST:", 23, "2026-11-18 03:02:07.123"},
            {"0987-11-18 03:02:07.123", 23, "0987-11-18 03:02:07.123"},
            {"2026-11-18 03:02:07.123-03:30", 29, "2026-11-18 03:02:07.123-03:30"},
            {"2026-11-18 03:02:07.123+14:59x", 29, "2026-11-18 03:02:07.123+14:59"},
            {"2026-11-18 03:02:07.123+5:3", 27, "2026-11-18 03:02:07.123+05:03"},
            {"2026-11-18 03:02:07.123+ 05: +030.", 33, "2026-11-18 03:02:07.123+05:30"},
            {"2026-11-18 03:02:07.123+65541:30", 32, "2026-11-18 03:02:07.123+05:30"},
            {"2026-11-18 03:02:07.123+-4294967295:1", 37, "2026-11-18 03:02:07.123+01:01"},
            {"2026-11-18 03:02:07.123+:30", 27, "2026-11-18 03:02:07.123+00:30"},
            {"2026-11-18 03:02:07.123+15:00", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+10:60", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+10", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+-5:00", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+99999999999999999999999:00", 0, kUnchanged},
            {"+05:30", 6, "1899-12-30 00:00:00.000+05:30"},
            {"no time", 0, kEmpty},
            {"", 0, kEmpty},
            {nullptr, 0, kUnchanged},
        };
        for (auto const& c : cases)
        {
            SCOPED_TRACE(c.mpText ? c.mpText : "null");
            Timestamp_Impl timestamp;
            ASSERT_NE(timestamp.FromISO8601String(kUnchanged), 0u);
            EXPECT_EQ(timestamp.FromISO8601String(c.mpText), c.mConsumed);
            EXPECT_STREQ(timestamp.ToISO8601String().c_str(), c.mpExpected);
        }
    }
}
