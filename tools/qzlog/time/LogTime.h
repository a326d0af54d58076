#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace QzLogTool
{
    /// Reads the time stamp at the start of `text`, in the form in which headers hold it.
    /// \param time  receives milliseconds since 1970-01-01 00:00 UTC.
    /// \return  the length of the time stamp. 0 if there is none; `time` is then unchanged.
    std::size_t ReadTime(std::string_view text, std::int64_t& time);
}
