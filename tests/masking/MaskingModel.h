#pragma once

#include <algorithm>
#include <string>
#include <vector>

// Both masks told in the plainest way: first all ranges are noted, then they are replaced from the last to
// the first. Slow, and shared by the random test and the fuzz target.

namespace MaskingModel
{
    struct Range
    {
        std::size_t mBegin;
        std::size_t mEnd;
    };

    inline std::string ReplaceRanges(std::string text, std::vector<Range> const& ranges, std::string const& mask)
    {
        for (auto range = ranges.rbegin(); range != ranges.rend(); ++range)
            text.replace(range->mBegin, range->mEnd - range->mBegin, mask);
        return text;
    }

    inline std::string MaskAttribute(std::string const& text, std::string const& name, std::string const& mask)
    {
        std::string const pattern = " " + name + "=\"";
        std::vector<Range> ranges;
        for (std::size_t pos = 0;;)
        {
            std::size_t const found = text.find(pattern, pos);
            if (found == std::string::npos || found + pattern.size() >= text.size())
                break;
            std::size_t const begin = found + pattern.size();
            std::size_t const end = text.find('"', begin);
            if (end == std::string::npos)
                break;
            ranges.push_back({begin, end});
            pos = end + 1;
        }
        return ReplaceRanges(text, ranges, mask);
    }

    inline std::size_t FindClosingQuote(std::string const& text, std::size_t pos)
    {
        while (pos < text.size())
        {
            std::size_t const escaped = text.find("\\\"", pos);
            std::size_t const quote = text.find('"', pos);
            if (escaped == std::string::npos || quote < escaped)
                return quote;
            pos = escaped + 2;
        }
        return std::string::npos;
    }

    inline std::string MaskHTTP(std::string const& text, std::string const& tag)
    {
        std::string const pattern = "\"" + tag + "\"";
        std::vector<Range> ranges;
        for (std::size_t pos = 0;;)
        {
            std::size_t const found = text.find(pattern, pos);
            if (found == std::string::npos || found + pattern.size() >= text.size())
                break;
            std::size_t const colon = text.find(':', found + pattern.size());
            if (colon == std::string::npos)
                break;
            std::size_t const opening = text.find('"', colon);
            if (opening == std::string::npos)
                break;
            std::size_t const closing = FindClosingQuote(text, opening + 1);
            if (closing == std::string::npos)
                break;
            ranges.push_back({opening + 1, closing});
            pos = closing + 1;
        }
        return ReplaceRanges(text, ranges, "***");
    }
}
