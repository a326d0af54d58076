#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace QzLogTool
{
    /// The bytes that every log file begins with, byte order mark and line end included.
    inline constexpr std::string_view kHead = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";

    /// Whoever asks the questions below shows at least so much of a line, or all that there is.
    inline constexpr std::size_t kGlance = 64;

    /// Whether a line begins like the header of a record: time stamp and host.
    /// \param time  see ReadTime.
    bool BeginsRecord(std::string_view line, std::int64_t& time);

    /// Whether a line is the head of a log, whatever its version.
    bool BeginsHead(std::string_view line);
}
