#pragma once

#include "reading/HeaderParser.h"

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>

// Processes and threads by the part of a header that distinguishes them.

namespace QzLogTool
{
    /// As much of it distinguishes any two.
    inline constexpr std::size_t kLongestOwner = 512;

    /// What the header has from the value of its host to that of its process, which it holds in one piece: no copy is
    /// made. At most the last kLongestOwner bytes.
    std::string_view GetProcessOf(HeaderFields const& fields);

    /// The same to the thread.
    std::string_view GetThreadOf(HeaderFields const& fields);

    /// "[HOST:ws01][SERVER:Engine][PID:11][THR:21]".
    std::string MakeOwnerLabel(std::string_view owner);

    /// Gives an object the keys "host", "server", "pid" and "thr", as far as they are there.
    void PutOwner(Json::Value& object, std::string_view owner);
}
