#pragma once

#include <optional>
#include <string>
#include <vector>

// Both masks told in the plainest way: first all values are noted, then they are replaced from the last to the
// first. Slow, and shared by the random test and the fuzz target.

namespace MaskingModel
{
    struct Range
    {
        std::size_t mBegin;
        std::size_t mEnd;
    };

    /// `find`(position) gives the next value, if there is one.
    template <class Find>
    std::string ReplaceAll(std::string text, std::string const& mask, Find find)
    {
        std::vector<Range> ranges;
        for (std::optional<Range> range = find(0); range; range = find(range->mEnd + 1))
            ranges.push_back(*range);
        for (auto range = ranges.rbegin(); range != ranges.rend(); ++range)
            text.replace(range->mBegin, range->mEnd - range->mBegin, mask);
        return text;
    }

    /// The position behind the next `piece`; npos if there is none, or `pos` is npos.
    inline std::size_t Behind(std::string const& text, std::string const& piece, std::size_t pos)
    {
        std::size_t const found = text.find(piece, pos);
        return found == text.npos ? text.npos : found + piece.size();
    }

    inline std::string MaskAttribute(std::string const& text, std::string const& name, std::string const& mask)
    {
        return ReplaceAll(text, mask,
            [&](std::size_t pos) -> std::optional<Range>
            {
                std::size_t const begin = Behind(text, ' ' + name + "=\"", pos);
                std::size_t const end = text.find('"', begin);
                return end == text.npos ? std::nullopt : std::optional(Range{begin, end});
            });
    }

    inline std::size_t FindClosingQuote(std::string const& text, std::size_t pos)
    {
        while (pos < text.size())
        {
            std::size_t const escaped = text.find("\\\"", pos);
            std::size_t const quote = text.find('"', pos);
            if (escaped == text.npos || quote < escaped)
                return quote;
            pos = escaped + 2;
        }
        return text.npos;
    }

    inline std::string MaskHTTP(std::string const& text, std::string const& tag)
    {
        return ReplaceAll(text, "***",
            [&](std::size_t pos) -> std::optional<Range>
            {
                std::size_t const colon = Behind(text, ":", Behind(text, '"' + tag + '"', pos));
                std::size_t const begin = Behind(text, "\"", colon);
                std::size_t const end = FindClosingQuote(text, begin);
                return end == text.npos ? std::nullopt : std::optional(Range{begin, end});
            });
    }
}
