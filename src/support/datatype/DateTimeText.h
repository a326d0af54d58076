#pragma once

#include <QzDataType/DateTime.h>

namespace QzDataType
{
    /// Room for the text of any date and time, one with offset members out of their range included.
    inline constexpr unsigned int kMaxDateTimeText = 45;

    /// Where in the text of a date and time its seconds begin.
    inline constexpr unsigned int kSecondsPlace = 17;

    /// Writes "07.123" of that time, without terminator, and returns where it ends.
    char* WriteSeconds(char* out, DateTime const& time) noexcept;

    /// Writes "2026-11-18 03:02:07.123-05:00", without terminator, and returns where it ends. The offset is the given
    /// one and not that of `time`; when it is zero nothing follows the milliseconds.
    char* WriteDateTime(char* out, DateTime const& time, bool isAheadOfUTC, unsigned int offsetHours,
        unsigned int offsetMinutes) noexcept;
}
