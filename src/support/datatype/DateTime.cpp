#include <QzDataType/DateTime.h>

#include "os/Calls.h"
#include "support/base/Ascii.h"
#include "support/datatype/DateTimeText.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string>

namespace QzDataType
{
    namespace
    {
        constexpr std::int64_t kSecond = 1000;
        constexpr std::int64_t kMinute = 60 * kSecond;
        constexpr std::int64_t kHour = 60 * kMinute;
        constexpr std::int64_t kDay = 24 * kHour;

        constexpr std::int64_t DivideDown(std::int64_t value, std::int64_t divisor)
        {
            return value / divisor - (value % divisor < 0 ? 1 : 0);
        }

        /// Days since 1970-01-01 of a date whose month and day may lie outside their range.
        constexpr std::int64_t ToDays(std::int64_t year, std::int64_t month, std::int64_t day)
        {
            std::int64_t const carriedYears = DivideDown(month - 1, 12);
            year = std::clamp<std::int64_t>(year + carriedYears, -30'000, 30'000);
            month -= carriedYears * 12;
            std::chrono::year_month_day const first{std::chrono::year(static_cast<int>(year)),
                std::chrono::month(static_cast<unsigned int>(month)), std::chrono::day(1)};
            return std::chrono::sys_days(first).time_since_epoch().count() + day - 1;
        }

        // Milliseconds since 1970-01-01 00:00.
        constexpr std::int64_t kFirst = ToDays(1, 1, 1) * kDay;
        constexpr std::int64_t kLast = ToDays(10'000, 1, 1) * kDay - 1;
        constexpr std::int64_t kEmpty = ToDays(1899, 12, 30) * kDay;

        std::int64_t FromDays(double days)
        {
            double const milliseconds = days * static_cast<double>(kDay);
            // The comparison is false for NaN, too.
            if (!(std::fabs(milliseconds) < static_cast<double>(kLast - kFirst)))
                return milliseconds > 0 ? kLast : kFirst;
            return kEmpty + std::llround(milliseconds);
        }

        /// The local offset in minutes at a moment, asked of the system once a minute at most: asking takes a
        /// lock of the whole process, and an offset changes on whole minutes only.
        int GetZoneMinutes(std::int64_t utcMilliseconds)
        {
            // The minute in the upper bits and the offset, made positive, in the lower sixteen.
            static constinit std::atomic<std::int64_t> gKnown{0};
            constexpr std::int64_t kShift = 1 << 15;

            std::int64_t const minute = DivideDown(utcMilliseconds, kMinute);
            std::int64_t const known = gKnown.load(std::memory_order_relaxed);
            if (known != 0 && known >> 16 == minute)
                return static_cast<int>((known & 0xFFFF) - kShift);

            int const offset = QzOs::gCalls.mpGetZoneMinutes(minute * 60);
            gKnown.store(minute << 16 | (offset + kShift), std::memory_order_relaxed);
            return offset;
        }

        char* WriteOffsetPart(char* out, unsigned int value) noexcept
        {
            return value < 100 ? QzBase::WriteTwoDigits(out, value) : QzBase::WriteDecimal(out, value);
        }

        /// Reads the parts of a date and time one after the other.
        class Reader
        {
        public:
            explicit Reader(char const* text) : mpStart(text), mpText(text) {}

            /// Exactly `digits` decimal digits.
            bool ReadNumber(int digits, int& value)
            {
                value = 0;
                for (int i = 0; i < digits; ++i, ++mpText)
                {
                    if (!QzBase::IsDigit(*mpText))
                        return false;
                    value = value * 10 + (*mpText - '0');
                }
                return true;
            }

            bool ReadOne(char const* oneOf)
            {
                for (; *oneOf; ++oneOf)
                {
                    if (*mpText == *oneOf)
                    {
                        ++mpText;
                        return true;
                    }
                }
                return false;
            }

            /// A point and 1 to 9 digits, of which three count; or nothing. False for a point alone or more
            /// digits.
            bool ReadFraction(int& milliseconds)
            {
                milliseconds = 0;
                if (*mpText != '.')
                    return true;
                ++mpText;
                int digits = 0;
                for (int weight = 100; QzBase::IsDigit(*mpText); ++mpText, ++digits, weight /= 10)
                    milliseconds += weight * (*mpText - '0');
                return digits >= 1 && digits <= 9;
            }

            unsigned int GetConsumed() const { return static_cast<unsigned int>(mpText - mpStart); }

        private:
            char const* mpStart;
            char const* mpText;
        };

        bool IsRealDate(int year, int month, int day)
        {
            return year >= 1 && std::chrono::year_month_day{std::chrono::year(year),
                                    std::chrono::month(static_cast<unsigned int>(month)),
                                    std::chrono::day(static_cast<unsigned int>(day))}
                                    .ok();
        }
    }

    int TimeSpan::GetTotalSeconds() const noexcept
    {
        return static_cast<int>(std::clamp<std::int64_t>(mMilliseconds / kSecond, INT_MIN, INT_MAX));
    }

    DateTime::DateTime(OnTheWall, std::int64_t milliseconds) noexcept
    {
        std::int64_t const clamped = std::clamp(milliseconds, kFirst, kLast);
        std::int64_t const day = DivideDown(clamped, kDay);
        std::chrono::year_month_day const date{std::chrono::sys_days(std::chrono::days(day))};
        std::int64_t rest = clamped - day * kDay;
        mYear = static_cast<std::int16_t>(static_cast<int>(date.year()));
        mMonth = static_cast<std::uint8_t>(static_cast<unsigned int>(date.month()));
        mDay = static_cast<std::uint8_t>(static_cast<unsigned int>(date.day()));
        mHour = static_cast<std::uint8_t>(rest / kHour);
        rest %= kHour;
        mMinute = static_cast<std::uint8_t>(rest / kMinute);
        rest %= kMinute;
        mSecond = static_cast<std::uint8_t>(rest / kSecond);
        mMillisecond = static_cast<std::int16_t>(rest % kSecond);
    }

    DateTime::DateTime(double days) noexcept : DateTime(OnTheWall(), FromDays(days)) {}

    DateTime::DateTime(int year, int month, int day, int hour, int minute, int second, int millisecond,
        short zoneMinutes, short daylightMinutes) noexcept
        : DateTime(OnTheWall(),
              ToDays(year, month, day) * kDay + hour * kHour + minute * kMinute + second * kSecond + millisecond)
    {
        mZoneMinutes = zoneMinutes;
        mDaylightMinutes = daylightMinutes;
    }

    void DateTime::SetToNow()
    {
        // The calendar is asked once a minute, since a thread that logs asks for the time with every message.
        struct Minute
        {
            std::int64_t mUTC; // milliseconds
            DateTime mTime;
        };
        [[gnu::tls_model("initial-exec")]] static constinit thread_local Minute tMinute{
            INT64_MIN / 2, DateTime(OnTheWall())};

        std::int64_t const utc = QzOs::gCalls.mpGetUTCMilliseconds();
        if (utc - tMinute.mUTC < 0 || utc - tMinute.mUTC >= kMinute)
        {
            int const zone = GetZoneMinutes(utc);
            std::int64_t const minute = DivideDown(utc, kMinute) * kMinute;
            tMinute = {minute, DateTime(OnTheWall(), minute + zone * kMinute)};
            tMinute.mTime.mZoneMinutes = static_cast<std::int16_t>(zone);
        }
        auto const within = static_cast<unsigned int>(utc - tMinute.mUTC);
        *this = tMinute.mTime;
        mSecond = static_cast<std::uint8_t>(within / kSecond);
        mMillisecond = static_cast<std::int16_t>(within % kSecond);
    }

    DateTime DateTime::Now()
    {
        DateTime now{OnTheWall()};
        now.SetToNow();
        return now;
    }

    DateTime DateTime::NowUTC()
    {
        return DateTime(OnTheWall(), QzOs::gCalls.mpGetUTCMilliseconds());
    }

    std::int64_t DateTime::GetWallMilliseconds() const noexcept
    {
        return ToDays(mYear, mMonth, mDay) * kDay + mHour * kHour + mMinute * kMinute + mSecond * kSecond +
               mMillisecond;
    }

    char* WriteSeconds(char* out, DateTime const& time) noexcept
    {
        out = QzBase::WriteTwoDigits(out, static_cast<unsigned int>(time.GetSecond()));
        *out++ = '.';
        auto const millisecond = static_cast<unsigned int>(time.GetMillisecond());
        out = QzBase::WriteTwoDigits(out, millisecond / 10);
        *out++ = static_cast<char>('0' + millisecond % 10);
        return out;
    }

    char* WriteDateTime(char* out, DateTime const& time, bool isAheadOfUTC, unsigned int offsetHours,
        unsigned int offsetMinutes) noexcept
    {
        auto const pair = [&out](int value, char separator)
        {
            out = QzBase::WriteTwoDigits(out, static_cast<unsigned int>(value));
            *out++ = separator;
        };
        int const year = time.GetYear();
        out = QzBase::WriteTwoDigits(out, static_cast<unsigned int>(year) / 100);
        pair(year % 100, '-');
        pair(time.GetMonth(), '-');
        pair(time.GetDay(), ' ');
        pair(time.GetHour(), ':');
        pair(time.GetMinute(), ':');
        out = WriteSeconds(out, time);

        if (offsetHours != 0 || offsetMinutes != 0)
        {
            *out++ = isAheadOfUTC ? '+' : '-';
            out = WriteOffsetPart(out, offsetHours);
            *out++ = ':';
            out = WriteOffsetPart(out, offsetMinutes);
        }
        return out;
    }

    QzBase::ReturnString DateTime::ToString() const
    {
        int const offset = mZoneMinutes + mDaylightMinutes;
        auto const distance = static_cast<unsigned int>(offset < 0 ? -offset : offset);
        char text[kMaxDateTimeText];
        char* const end = WriteDateTime(text, *this, offset > 0, distance / 60, distance % 60);
        return QzBase::ReturnString(std::string(text, end));
    }

    unsigned int DateTime::FromString(char const* text)
    {
        if (!text)
            return 0;
        Reader reader(text);
        int year, month, day, hour, minute, second, millisecond;
        bool const isRead = reader.ReadNumber(4, year) && reader.ReadOne("-") && reader.ReadNumber(2, month) &&
                            reader.ReadOne("-") && reader.ReadNumber(2, day) && reader.ReadOne(" T") &&
                            reader.ReadNumber(2, hour) && reader.ReadOne(":") && reader.ReadNumber(2, minute) &&
                            reader.ReadOne(":") && reader.ReadNumber(2, second) && reader.ReadFraction(millisecond);
        if (!isRead || !IsRealDate(year, month, day) || hour > 23 || minute > 59 || second > 59)
            return 0;
        *this = DateTime(year, month, day, hour, minute, second, millisecond, 0, 0);
        return reader.GetConsumed();
    }

    TimeSpan DateTime::operator-(DateTime const& other) const noexcept
    {
        auto const toUTC = [](DateTime const& time)
        { return time.GetWallMilliseconds() - (time.mZoneMinutes + time.mDaylightMinutes) * kMinute; };
        return TimeSpan(toUTC(*this) - toUTC(other));
    }
}
