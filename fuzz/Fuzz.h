#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// What the fuzz targets share. Each target defines LLVMFuzzerTestOneInput.

namespace Fuzz
{
    /// Ends the run, which keeps the input, when an invariant does not hold.
    inline void Check(bool holds, char const* invariant)
    {
        if (holds)
            return;
        std::fprintf(stderr, "Does not hold: %s\n", invariant);
        std::abort();
    }

    /// The input as `count` texts: all but the last one end with a LF, missing ones are empty. None has a
    /// zero byte in it: what is behind one is left out.
    template <std::size_t count>
    std::array<std::string, count> TakeTexts(std::uint8_t const* data, std::size_t size)
    {
        std::array<std::string, count> texts;
        std::uint8_t const* const end = std::find(data, data + size, std::uint8_t{0});
        for (std::size_t i = 0; i < count; ++i)
        {
            std::uint8_t const* const textEnd = i + 1 < count ? std::find(data, end, std::uint8_t{'\n'}) : end;
            texts[i].assign(data, textEnd);
            data = textEnd == end ? end : textEnd + 1;
        }
        return texts;
    }
}
