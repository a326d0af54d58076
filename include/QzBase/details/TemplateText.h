#pragma once

#include <cstddef>

namespace QzBase
{
    /// The one reading of "%1" to "%99" and "%%" in a text, for narrow and wide characters, also while compiling.
    /// Puts arguments into a template in one pass, so that what an argument brings is not read again.
    ///
    /// `appendText(first, last)` gets the ordinary pieces in order; `appendArgument(index)` is asked for the
    /// 0-based argument and returns whether there is one. Of two digits behind a "%" both count. A number
    /// without an argument stays as it stands, "%%" is "%", and "%" before anything else is itself.
    template <class Character, class AppendText, class AppendArgument>
    constexpr void ExpandTemplate(
        Character const* text, std::size_t length, AppendText&& appendText, AppendArgument&& appendArgument)
    {
        auto const isDigit = [](Character c) { return c >= '0' && c <= '9'; };
        Character const* const end = text + length;
        Character const* pending = text;
        while (text != end)
        {
            if (*text != '%' || text + 1 == end)
            {
                ++text;
                continue;
            }
            Character const* const percent = text++;
            if (*text == '%')
            {
                appendText(pending, text);
                pending = ++text;
                continue;
            }
            if (*text < '1' || *text > '9')
                continue;
            std::size_t number = static_cast<std::size_t>(*text++ - '0');
            if (text != end && isDigit(*text))
                number = number * 10 + static_cast<std::size_t>(*text++ - '0');
            appendText(pending, percent);
            pending = appendArgument(number - 1) ? text : percent;
        }
        appendText(pending, end);
    }
}
