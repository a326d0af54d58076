#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace QzLogTool
{
    /// How far a log was read: a place in one content of it, wherever roll-overs have moved that since.
    struct LogPosition
    {
        /// The log's path, absolute.
        std::string mLog;

        /// The first bytes of the content, which distinguish it from all others of this log. Empty when no record was
        /// read yet.
        std::string mBeginning;

        /// The bytes of it in front of this offset were read.
        std::uint64_t mOffset = 0;

        /// Of the last record that was read: milliseconds since 1970-01-01 00:00 UTC; the least number before the
        /// first.
        std::int64_t mTime = std::numeric_limits<std::int64_t>::min();

        bool operator==(LogPosition const&) const = default;
    };
}
