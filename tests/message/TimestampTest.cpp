#include <QzLog/Timestamp.h>

#include "os/Calls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
    using QzLog::Timestamp_Impl;

    constexpr char kEmpty[] = "1899-12-30 00:00:00.000";

    int gZoneMinutes = 0;

    TEST(Timestamp, TakesTheLocalTimeWithItsOffset)
    {
        QzOs::Calls const calls = QzOs::gCalls;
        struct
        {
            int mZoneMinutes;
            std::int64_t mUTCMilliseconds; // each in a minute of its own: offsets are asked for once a minute
            char const* mpExpected;
        } const cases[] = {
            {-300, 1'794'988'927'123, "2026-11-18 03:02:07.123-05:00"},
            {0, 1'794'988'987'000, "2026-11-18 08:03:07.000"},
            {-210, 1'794'989'047'009, "2026-11-18 04:34:07.009-03:30"},
            {345, 1'794'989'107'050, "2026-11-18 13:50:07.050+05:45"},
        };
        for (auto const& c : cases)
        {
            static std::int64_t now;
            now = c.mUTCMilliseconds;
            gZoneMinutes = c.mZoneMinutes;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return now; };
            QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return gZoneMinutes; };
            Timestamp_Impl timestamp;
            timestamp.SetToNowLocal();
            QzOs::gCalls = calls;

            EXPECT_STREQ(timestamp.ToISO8601String().c_str(), c.mpExpected);
            EXPECT_EQ(timestamp.mOffsetIsPositive, c.mZoneMinutes > 0);
            Timestamp_Impl readBack;
            EXPECT_EQ(readBack.FromISO8601String(c.mpExpected), std::strlen(c.mpExpected));
            EXPECT_STREQ(readBack.ToISO8601String().c_str(), c.mpExpected);
        }
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
            {"2026-11-18 03:02:07.123+14:59x", 29, "2026-11-18 03:02:07.123+14:59"},
            {"2026-11-18 03:02:07.123+5:3", 27, "2026-11-18 03:02:07.123+05:03"},
            {"2026-11-18 03:02:07.123-00:00", 29, "2026-11-18 03:02:07.123"},
            {"2026-11-18 03:02:07.123+ 05: +030.", 33, "2026-11-18 03:02:07.123+05:30"},
            {"2026-11-18 03:02:07.123+65541:30", 32, "2026-11-18 03:02:07.123+05:30"},
            {"2026-11-18 03:02:07.123+-4294967295:1", 37, "2026-11-18 03:02:07.123+01:01"},
            {"2026-11-18 03:02:07.123+:30", 27, "2026-11-18 03:02:07.123+00:30"},
            {"2026-11-18 03:02:07.123+15:00", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+10:60", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+10", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+-5:00", 0, kUnchanged},
            {"2026-11-18 03:02:07.123+4294967301:00", 0, kUnchanged},
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
