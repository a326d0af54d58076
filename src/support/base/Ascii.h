#pragma once

#include <charconv>
#include <cstring>

// ASCII text without locale. Numbers are written straight into a buffer; each Write returns where the text ends.

namespace QzBase
{
    inline bool IsWhiteSpace(char c) noexcept
    {
        return c == ' ' || (c >= '\t' && c <= '\r');
    }

    inline bool IsDigit(char c) noexcept
    {
        return c >= '0' && c <= '9';
    }

    /// The most digits of a 32-bit number.
    inline constexpr unsigned int kMaxDecimalDigits = 10;

    /// Two decimal digits of 0 to 99.
    inline char* WriteTwoDigits(char* out, unsigned int value) noexcept
    {
        static constexpr char kPairs[] = "00010203040506070809101112131415161718192021222324"
                                         "25262728293031323334353637383940414243444546474849"
                                         "50515253545556575859606162636465666768697071727374"
                                         "75767778798081828384858687888990919293949596979899";
        std::memcpy(out, kPairs + 2 * value, 2);
        return out + 2;
    }

    inline char* WriteDecimal(char* out, unsigned int value) noexcept
    {
        return std::to_chars(out, out + kMaxDecimalDigits, value).ptr;
    }

    /// Upper-case hexadecimal digits, at least `minimum` (1 to 16) of them.
    inline char* WriteHex(char* out, unsigned long long value, int minimum) noexcept
    {
        int digits = minimum;
        while (digits < 16 && value >> (4 * digits) != 0)
            ++digits;
        for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
            *out++ = "0123456789ABCDEF"[value >> shift & 0xF];
        return out;
    }
}
