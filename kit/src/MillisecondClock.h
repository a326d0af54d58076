#pragma once

#include <QzLog/Timestamp.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace QzLogKit
{
    /// Turns the times of messages into milliseconds since 1970 UTC. A difference of two DateTimes would be the same,
    /// and take several times as long. Any thread.
    class MillisecondClock
    {
    public:
        std::int64_t GetMilliseconds(QzLog::Timestamp const& time)
        {
            int const offset = time.mOffsetHours * 60 + time.mOffsetMinutes;
            std::int64_t const hours = 24 * GetDay(time) + time.GetHour();
            std::int64_t const minutes = 60 * hours + time.GetMinute() - (time.mOffsetIsPositive ? offset : -offset);
            return 1000 * (60 * minutes + time.GetSecond()) + time.GetMillisecond();
        }

    private:
        /// Days since 1970. The last answer is kept, since most messages have the day of the one before.
        std::int64_t GetDay(QzLog::Timestamp const& time)
        {
            auto const date = static_cast<std::uint32_t>(time.GetYear() * 512 + time.GetMonth() * 32 + time.GetDay());
            std::uint64_t known = mKnownDay.load(std::memory_order_relaxed);
            if (known >> 32 != date) [[unlikely]]
            {
                using namespace std::chrono;
                sys_days const day = year(time.GetYear()) / time.GetMonth() / time.GetDay();
                known = std::uint64_t{date} << 32 | static_cast<std::uint32_t>(day.time_since_epoch().count());
                mKnownDay.store(known, std::memory_order_relaxed);
            }
            return static_cast<std::int32_t>(known);
        }

        /// The upper half is a date (0 for none), the lower half its day since 1970.
        std::atomic<std::uint64_t> mKnownDay{0};
    };
}
