#pragma once

#include <cstddef>
#include <string>

// The one conversion between UTF-8 and UTF-16. It stands in the lowest layer because that is where paths
// meet the system; messages use it from above. Any thread may call it; nothing here fails. All of it takes time in
// proportion to the length of the text, whatever the text holds.

namespace QzOs
{
    /// What becomes of malformed text.
    enum class Malformed
    {
        /// U+FFFD for each maximal malformed piece: for text that people read. The result is well-formed.
        Replace,
        /// For names and paths. Each byte that is no part of well-formed UTF-8 (of a surrogate in three bytes
        /// it is each of the three) becomes the lone code unit U+DC80 to U+DCFF, and such a unit becomes that
        /// byte again: bytes to units to bytes gives the same bytes, whatever they are. Units to bytes to
        /// units gives the same units as long as every lone surrogate among them is in that range and no
        /// neighbours spell a well-formed sequence, as is so for all units that came from bytes.
        Keep
    };

    /// The most code units that a byte of UTF-8 becomes, and the most bytes that a code unit becomes.
    inline constexpr std::size_t kUnitsPerUTF8Byte = 1;
    inline constexpr std::size_t kUTF8BytesPerUnit = 3;

    /// How many bytes at the start of `text` are ASCII.
    std::size_t MeasureASCII(char const* text, std::size_t length) noexcept;
    /// How many code units at the start of `text` are ASCII.
    std::size_t MeasureASCII(unsigned short const* text, std::size_t length) noexcept;

    /// Writes `length` bytes of UTF-8 as UTF-16 to `out`, which has room for as many code units, and returns
    /// the number of code units. No terminator.
    std::size_t DecodeUTF8(unsigned short* out, char const* text, std::size_t length, Malformed malformed) noexcept;

    /// Writes `length` code units as UTF-8 to `out`, which has room for kUTF8BytesPerUnit times as many bytes,
    /// and returns the number of bytes. No terminator. With Keep, a lone surrogate that stands for no byte is
    /// written as three bytes that are not UTF-8, and `isExact` (null allowed) becomes false. Otherwise
    /// `isExact` is unchanged.
    std::size_t EncodeUTF8(
        char* out, unsigned short const* text, std::size_t length, Malformed malformed, bool* isExact) noexcept;

    /// Appends `length` bytes of UTF-8 as UTF-16 to a string of 16-bit units.
    template <class WideText>
    void AppendWide(WideText& out, char const* text, std::size_t length, Malformed malformed)
    {
        std::size_t const before = out.size();
        out.resize(before + length * kUnitsPerUTF8Byte);
        out.resize(before + DecodeUTF8(out.data() + before, text, length, malformed));
    }

    /// Appends `length` code units as UTF-8.
    void AppendUTF8(std::string& out, unsigned short const* text, std::size_t length, Malformed malformed);
}
