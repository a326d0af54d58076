#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

namespace QzBase
{
    /// The next "%", or `end`.
    template <class Character>
    constexpr Character const* FindPercent(Character const* text, Character const* end)
    {
        if (std::is_constant_evaluated())
        {
            // g++ with -fsanitize=undefined compares no address with null at compile time.
            while (text != end && *text != '%')
                ++text;
            return text;
        }
        Character const* const found =
            std::char_traits<Character>::find(text, static_cast<std::size_t>(end - text), Character('%'));
        return found ? found : end;
    }

    /// Expands "%1" to "%99" and "%%" in a template, for narrow and wide characters, also at compile time. The
    /// only code that reads templates. It works in one pass, so text that an argument brings is not expanded.
    ///
    /// `appendText(first, last)` gets the ordinary pieces in order. `appendArgument(index)` appends the 0-based
    /// argument and returns whether there is one. Two digits after a "%" are read as one number. A number
    /// without an argument is kept as it is, "%%" is "%", and "%" before anything else is an ordinary character.
    template <class Character, class AppendText, class AppendArgument>
    constexpr void ExpandTemplate(
        Character const* text, std::size_t length, AppendText&& appendText, AppendArgument&& appendArgument)
    {
        auto const isDigit = [](Character c) { return c >= '0' && c <= '9'; };
        Character const* const end = text + length;
        Character const* pending = text;
        while ((text = FindPercent(text, end)) != end)
        {
            Character const* const percent = text++;
            if (text == end)
                break;
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
