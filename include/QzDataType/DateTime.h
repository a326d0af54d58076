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

        /// Whole seconds, truncated toward zero; the nearest `int` if they do not fit.
        int GetTotalSeconds() const noexcept;

        std::int64_t GetTotalMilliseconds() const noexcept { return mMilliseconds; }

    private:
        std::int64_t mMilliseconds;
    };

    /// A calendar date and time (Gregorian) with a resolution of milliseconds, and the offset of its time
    /// zone. A value; used by one thread at a time.
    class QZLOG_API DateTime
    {
    public:
        /// Days and their fraction since 1899-12-30 00:00; 0.0 is the empty date and time. Values
        /// outside the years 1 to 9999 give the nearest moment in them. Zone UTC.
        explicit DateTime(double days) noexcept;

        /// That date and time. The sum of the last two numbers is the zone's offset from UTC in minutes,
        /// positive ahead of UTC. Members outside their range carry over into the next. A moment outside
        /// the years 1 to 9999 gives the nearest moment in them.
        DateTime(int year, int month, int day, int hour, int minute, int second, int millisecond, short zoneMinutes,
            short daylightMinutes) noexcept;

        /// The current time in the process's time zone, with its offset from UTC. The system is asked for the
        /// offset once per minute of the clock, so a change of the zone (by tzset) takes effect with the next
        /// minute.
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

        /// Reads "2026-11-18 03:02:07.123" at the start of the text and returns the number of characters read.
        /// Returns 0, and changes nothing, if there is no valid date and time, or for null. Between date and
        /// time stands a blank or "T". The year has four digits, the other numbers two. The fraction has 1 to 9
        /// digits, of which three count, and may be absent together with its point. A zone offset is not read;
        /// the zone becomes UTC.
        unsigned int FromString(char const* text);

        /// The time from `other` to this moment, both converted to UTC.
        TimeSpan operator-(DateTime const& other) const noexcept;

    protected:
        /// Makes it what Now returns.
        void SetToNow();

        // Their sum is the zone's offset from UTC in minutes, positive ahead of UTC.
        std::int16_t mZoneMinutes = 0;
        std::int16_t mDaylightMinutes = 0;

    private:
        // Milliseconds since 1970-01-01 00:00 in local time. (The tag distinguishes this constructor from the
        // one that takes days.)
        struct OnTheWall
        {
        };
        constexpr explicit DateTime(OnTheWall) noexcept {}
        DateTime(OnTheWall, std::int64_t milliseconds) noexcept;
        std::int64_t GetWallMilliseconds() const noexcept;

        // Fields and not a count of milliseconds, because a time stamp is rendered far more often than subtracted.
        std::int16_t mYear = 1; // to 9999
        std::uint8_t mMonth = 1;
        std::uint8_t mDay = 1;
        std::uint8_t mHour = 0;
        std::uint8_t mMinute = 0;
        std::uint8_t mSecond = 0;
        std::int16_t mMillisecond = 0;
    };
}
