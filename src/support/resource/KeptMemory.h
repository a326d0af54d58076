#pragma once

#include <cstddef>

namespace QzResource
{
    /// How many bytes a text that is used again and again keeps. Longer messages are rare, and every thread
    /// has many such texts.
    inline constexpr std::size_t kKeptBytes = 64 * 1024;
}
