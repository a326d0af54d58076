#include <QzDataType/DateTime.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace
{
    using namespace QzDataType;

    std::string TextOf(DateTime const& time)
    {
        return time.ToString().c_str();
    }

    TEST(DateTimeTest, MomentsHaveTheirText)
    {
        std::pair<DateTime, char const*> const rows[] = {{DateTime(0.0), "1899-12-30 00:00:00.000"},
            {DateTime(-0.25), "1899-12-29 18:00:00.000"}, {DateTime(1.5 + 0.001 / 86'400), "1899-12-31 12:00:00.001"},
            {DateTime(46'344.0 + 0.126471099), "2026-11-18 03:02:07.103"}, {DateTime(1e300), "9999-12-31 23:59:59.999"},
            {DateTime(NAN), "0001-01-01 00:00:00.000"},
            {DateTime(7, 1, 2, 3, 4, 5, 6, -210, 0), "0007-01-02 03:04:05.006-03:30"},
            {DateTime(2026, 7, 1, 0, 0, 0, 0, 60, 60), "2026-07-01 00:00:00.000+02:00"},
            {DateTime(2024, 14, 30, 25, 61, 61, 1001, 0, 0), "2025-03-03 02:02:02.001"},
            {DateTime(INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 0, 0), "9999-12-31 23:59:59.999"},
            {DateTime(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, 0, 0), "0001-01-01 00:00:00.000"}};
        for (auto const& [time, text] : rows)
            EXPECT_EQ(TextOf(time), text);
    }

    TEST(DateTimeTest, TextIsReadStrictly)
    {
        // Text, how much of it is read, as what.
        std::tuple<char const*, unsigned int, char const*> const rows[] = {
            {"2026-11-18 03:02:07.123-05:00", 23, "2026-11-18 03:02:07.123"},
            {"2026-11-18T03:02:07 [HOST:", 19, "2026-11-18 03:02:07.000"},
            {"0001-01-01 00:00:00.5", 21, "0001-01-01 00:00:00.500"},
            {"9999-12-31 23:59:59.123456789Z", 29, "9999-12-31 23:59:59.123"},
            {"2024-02-29 00:00:00", 19, "2024-02-29 00:00:00.000"}};
        DateTime time(0.0);
        for (auto const& [text, consumed, read] : rows)
        {
            EXPECT_EQ(time.FromString(text), consumed);
            EXPECT_EQ(TextOf(time), read);
        }
        for (char const* const text :
            {"2023-02-29 00:00:00", "2026-11-18 03:02:07.1234567890", "2026-11-18 03:02:07.", "2026-00-18 03:02:07",
                "2026-11-18  03:02:07", "2026-11-18 3:02:07", "2026-11-18 24:00:00", "2026-11-18 23:60:59",
                "2026-11-18 23:59:60", "2026-11-00 03:02:07", static_cast<char const*>(nullptr)})
        {
            DateTime unchanged(2000, 1, 1, 0, 0, 0, 0, 60, 0);
            EXPECT_EQ(unchanged.FromString(text), 0u) << text;
            EXPECT_EQ(TextOf(unchanged), "2000-01-01 00:00:00.000+01:00");
        }
    }
}
