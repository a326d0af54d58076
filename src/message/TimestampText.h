#pragma once

namespace QzLog
{
    struct Timestamp;

    /// Room for the text of any time stamp, one with offset members out of their range included.
    inline constexpr unsigned int kMaxTimestampText = 36;

    /// Writes the text form of a time stamp, without terminator, and returns where it ends.
    char* WriteTimestamp(char* out, Timestamp const& timestamp) noexcept;
}
