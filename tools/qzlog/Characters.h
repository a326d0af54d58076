#pragma once

// Of bytes, whatever the locale.

namespace QzLogTool
{
    constexpr bool IsDigit(char c)
    {
        return c >= '0' && c <= '9';
    }

    constexpr bool IsLetter(char c)
    {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    }

    /// Whether a byte of UTF-8 belongs to the character that an earlier byte has begun.
    constexpr bool ContinuesCharacter(char c)
    {
        return (c & 0xC0) == 0x80;
    }
}
