#pragma once

#include <string>

namespace QzTest
{
    inline std::string Repeat(std::string const& piece, int count)
    {
        std::string all;
        while (count-- > 0)
            all += piece;
        return all;
    }

    /// How often a part stands in a text.
    inline int Count(std::string const& text, std::string const& part)
    {
        int count = 0;
        for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
            ++count;
        return count;
    }
}
