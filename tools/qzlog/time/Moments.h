#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace QzLogTool
{
    inline constexpr std::int64_t kLongAgo = std::numeric_limits<std::int64_t>::min();

    /// Milliseconds since 1970-01-01 00:00 UTC.
    std::int64_t GetNow();

    /// Reads a moment as people write it on a command line:
    ///
    ///     10m, 2h, 1d12h, 90s, 500ms, 1w (ago)    now, today, yesterday    03:02, 03:02:07.5
    ///     -10m, 5 minutes ago, 1 hour 30 minutes ago
    ///     2026-11-18, 2026-11-18 03:02, 2026-11-18T03:02:07.123, 2026-11-18 03:02:07-05:00, 2026-11-18 08:02Z
    ///
    /// Without an offset it is local time (TZ). A time of day is the last one that has been: in the night, "22:00" is
    /// that of yesterday. Throws Trouble with what is wrong.
    /// \param after  if the last one was before that, a time of day is the one of today, which is still to come.
    /// \return       milliseconds since 1970-01-01 00:00 UTC.
    std::int64_t ReadMoment(std::string const& text, std::int64_t now, std::int64_t after = kLongAgo);

    /// The local time at a moment, given as if it were UTC.
    std::int64_t ToLocal(std::int64_t moment);

    /// "2026-11-18 03:02:07.123", whatever zone the moment is in.
    std::string FormatMoment(std::int64_t moment);

    /// A span of time as people read it, such as "0.4ms", "12ms", "1.234s", "2m03s", "1h02m" or "3d04h"; what is below
    /// its last unit is cut off.
    std::string FormatSpan(double milliseconds);

    /// Reads a span of time, such as "10m" or "1h30m", in milliseconds. False when it is none.
    bool ReadSpan(std::string const& text, std::int64_t& milliseconds);
}
