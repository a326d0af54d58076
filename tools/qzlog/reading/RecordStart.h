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

    /// Reads the time stamp at the start of `text`, in the form in which headers hold it.
    /// \param time  receives milliseconds since 1970-01-01 00:00 UTC.
    /// \return  its length, 0 when there is none.
    std::size_t ReadTime(std::string_view text, std::int64_t& time);

    /// Whether a line begins like the header of a record: time stamp and host.
    bool BeginsRecord(std::string_view line, std::int64_t& time);

    /// Whether a line is the head of a log, whatever its version.
    bool BeginsHead(std::string_view line);
}
