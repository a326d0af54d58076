#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace QzLogTool
{
    /// For maps with texts as keys, which are looked up without a copy of the text.
    struct TextHash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
}
