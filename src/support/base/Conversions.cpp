#include <QzBase/Conversions.h>

#include "os/Unicode.h"
#include "support/base/Ascii.h"

#include <charconv>

namespace QzBase
{
    namespace
    {
        using Text = std::char_traits<char>;
        using WideText = std::char_traits<unsigned short>;

        QzOs::Malformed ToMalformed(bool forOutput)
        {
            return forOutput ? QzOs::Malformed::Replace : QzOs::Malformed::Keep;
        }

        bool IsSurrogatePair(unsigned short const* text)
        {
            return (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
        }

        int ToHexDigit(char c)
        {
            if (IsDigit(c))
                return c - '0';
            if (c >= 'a' && c <= 'f')
                return c - 'a' + 10;
            if (c >= 'A' && c <= 'F')
                return c - 'A' + 10;
            return -1;
        }

        constexpr unsigned short kByteOrderMark[] = {0xFEFF, 0};
    }

    constinit unsigned short const* const UNICODE_BYTE_ORDER_MARK = kByteOrderMark;

    ReturnWString UTF8ToWideChar(char const* text, bool forOutput)
    {
        WideString wide;
        if (text)
            QzOs::AppendWide(wide, text, Text::length(text), ToMalformed(forOutput));
        return ReturnWString(std::move(wide));
    }

    ReturnString WideCharToUTF8(unsigned short const* text, bool forOutput)
    {
        std::string narrow;
        if (text)
            QzOs::AppendUTF8(narrow, text, WideText::length(text), ToMalformed(forOutput));
        return ReturnString(std::move(narrow));
    }

    ReturnString WideCharToASCII(unsigned short const* text, bool /*forOutput*/)
    {
        std::string narrow;
        for (; text && *text; ++text)
        {
            if (IsSurrogatePair(text))
                ++text;
            narrow.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
        }
        return ReturnString(std::move(narrow));
    }

    ReturnString ToDecimalString(int value)
    {
        char digits[12];
        char* const end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
        return ReturnString(std::string(digits, end));
    }

    int DecimalToInt(char const* text)
    {
        if (!text)
            return 0;
        while (IsWhiteSpace(*text))
            ++text;
        bool const isNegative = *text == '-';
        if (*text == '-' || *text == '+')
            ++text;
        unsigned int value = 0;
        for (; IsDigit(*text); ++text)
            value = value * 10 + static_cast<unsigned int>(*text - '0');
        return static_cast<int>(isNegative ? 0 - value : value);
    }

    unsigned int HexToUnsignedInt(char const* text, bool allowPrefix)
    {
        if (!text)
            return 0;
        if (allowPrefix && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
            text += 2;
        unsigned int value = 0;
        for (int digit = ToHexDigit(*text); digit >= 0; digit = ToHexDigit(*++text))
            value = value << 4 | static_cast<unsigned int>(digit);
        return value;
    }
}
