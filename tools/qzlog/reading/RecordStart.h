#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace QzLogTool
{
    /// The bytes that every log file begins with, byte order mark and line end included.
    inline constexpr std::string_view kHead = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";

    /// So many of its first bytes distinguish what a log holds from all that it held before: they have many records
    /// with their times.
    inline constexpr std::size_t kBeginning = 4096;

    /// The functions below need at least so much of a line, or all that there is.
    inline constexpr std::size_t kGlance = 64;

    /// What every header has after its time stamp.
    inline constexpr std::string_view kHost = " [HOST:";

    /// Whether a line begins like the header of a record: time stamp and host.
    /// \param time  see ReadTime.
    /// \return  the length of the time stamp, which the host follows; 0 when it begins otherwise.
    std::size_t BeginsRecord(std::string_view line, std::int64_t& time);

    /// The first place where a header's host or the head of a log may begin, that is kHost or the first kHost.size()
    /// bytes of the head; `end` when there is none.
    char const* FindMark(char const* from, char const* end);

    /// Whether a line is the head of a log, whatever its version.
    bool BeginsHead(std::string_view line);
}
