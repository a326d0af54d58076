#pragma once

#include <cstddef>
#include <string>

namespace QzBase
{
    /// Appends a template with its inserts filled in, in one pass: "%1" to "%99", the longest digits first,
    /// stand for the values; "%%" stands for "%"; a "%" before anything else is an ordinary character, and a
    /// number without a value stays as it stands. Serves UTF-8 and UTF-16 alike.
    /// \param out          a string of T's characters.
    /// \param appendValue  called as appendValue(out, index) with index from 0 to valueCount - 1.
    template <class String, class Char, class AppendValue>
    void AppendSubstituted(
        String& out, Char const* text, std::size_t length, std::size_t valueCount, AppendValue&& appendValue)
    {
        auto const digit = [&](std::size_t at)
        { return at < length && text[at] >= '0' && text[at] <= '9' ? static_cast<int>(text[at] - '0') : -1; };

        std::size_t copied = 0;
        for (std::size_t i = 0; i < length; ++i)
        {
            if (text[i] != '%')
                continue;
            std::size_t end = i + 1;
            std::size_t number = 0;
            if (digit(end) > 0)
            {
                number = static_cast<std::size_t>(digit(end++));
                if (digit(end) >= 0)
                    number = number * 10 + static_cast<std::size_t>(digit(end++));
            }
            if (number > 0 && number <= valueCount)
            {
                out.append(text + copied, i - copied);
                appendValue(out, number - 1);
                copied = end;
            }
            else if (number == 0 && end < length && text[end] == '%')
            {
                out.append(text + copied, end - copied);
                copied = ++end;
            }
            i = end - 1;
        }
        out.append(text + copied, length - copied);
    }
}
