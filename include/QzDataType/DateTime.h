#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <cstdint>

namespace QzDataType
{
    /// A span of time in milliseconds, signed.
    class QZLOG_API TimeSpan
    {
    public:
        explicit TimeSpan(std::int64_t milliseconds) noexcept : mMilliseconds(milliseconds) {}

        /// Whole seconds, cut toward zero; beyond the ends of `int` the nearer end.
        int GetTotalSeconds() const noexcept;

        std::int64_t GetTotalMilliseconds() const noexcept { return mMilliseconds; }

    private:
        std::int64_t mMilliseconds;
    };

    /// A calendar date and time (Gregorian) with a resolution of milliseconds, and the zone that it was
    /// read in. A value; used by one thread at a time.
    class QZLOG_API DateTime
    {
    public:
        /// Days and their fraction since 1899-12-30 00:00; 0.0 is the empty date and time. Values
        /// outside the years 1 to 9999 give the nearer end. Zone UTC.
        explicit DateTime(double days) noexcept;

        /// That moment of the calendar. The last two numbers are the zone's distance from UTC in minutes
        /// in two parts, positive ahead of UTC. Members outside their range carry over into the next; a moment
        /// outside the years 1 to 9999 gives the nearer end.
        DateTime(int year, int month, int day, int hour, int minute, int second, int millisecond, short zoneMinutes,
            short daylightMinutes) noexcept;

        /// The current time in the process's time zone, with its distance from UTC. The distance is asked of
        /// the system once for each minute of the clock, so another zone (which takes a tzset) counts from the
        /// next minute on.
        static DateTime Now();

        /// The current time in UTC.
        static DateTime NowUTC();

        int GetYear() const noexcept { return mYear; }
        int GetMonth() const noexcept { return mMonth; }
        int GetDay() const noexcept { return mDay; }
        int GetHour() const noexcept { return mHour; }
        int GetMinute() const noexcept { return mMinute; }
        int GetSecond() const noexcept { return mSecond; }
        int GetMillisecond() const noexcept { return mMillisecond; }

        /// "2026-11-18 03:02:07.123-05:00"; without the offset when it is zero. Throws std::bad_alloc.
        QzBase::ReturnString ToString() const;

        /// Reads "2026-11-18 03:02:07.123" at the start of the text and returns how many characters it
        /// took, 0 when the text is no real date and time; the object then stays as it was. Between date
        /// and time stands a blank or "T"; the year has four digits, the other numbers two; the fraction has
        /// 1 to 9 digits, of which three count, and may be absent together with its point. A zone offset is
        /// not read; the zone becomes UTC. Null: 0.
        unsigned int FromString(char const* text);

        /// The distance of two moments, both brought to UTC.
        TimeSpan operator-(DateTime const& other) const noexcept;

    protected:
        // The local zone's distance from UTC in minutes is the sum of the two.
        std::int16_t mZoneMinutes = 0;
        std::int16_t mDaylightMinutes = 0;

    private:
        // Milliseconds since 1970-01-01 00:00 as the clock on the wall shows it. (The mark keeps a whole number
        // of days from meaning this.)
        struct OnTheWall
        {
        };
        constexpr explicit DateTime(OnTheWall) noexcept {}
        DateTime(OnTheWall, std::int64_t milliseconds) noexcept;
        std::int64_t GetWallMilliseconds() const noexcept;

        // Kept apart and not as a count, because a time stamp is rendered far more often than subtracted.
        std::int16_t mYear = 1; // to 9999
        std::uint8_t mMonth = 1;
        std::uint8_t mDay = 1;
        std::uint8_t mHour = 0;
        std::uint8_t mMinute = 0;
        std::uint8_t mSecond = 0;
        std::int16_t mMillisecond = 0;
    };
}
