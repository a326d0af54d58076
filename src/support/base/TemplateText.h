#pragma once

#include <cstddef>

// The one reading of "%1" to "%99" and "%%" in a text, for narrow and wide characters.

namespace QzBase
{
    /// Puts arguments into a template in one pass, so that what an argument brings is not read again.
    ///
    /// `appendText(first, last)` gets the ordinary pieces in order; `appendArgument(index)` is asked for the
    /// 0-based argument and returns whether there is one. Of two digits behind a "%" both count. A number
    /// without an argument stays as it stands, "%%" is "%", and "%" before anything else is itself.
    template <class Character, class AppendText, class AppendArgument>
    void ExpandTemplate(
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

    /// Appends the text of a message: a template with arguments, or, when there is no argument, a text that
    /// stays exactly as it is. `appendArgument(out, index)` appends one of the `count` arguments.
    template <class Out, class Template, class AppendArgument>
    void AppendExpanded(Out& out, Template const& text, std::size_t count, AppendArgument&& appendArgument)
    {
        if (count == 0)
        {
            out.append(text.data(), text.size());
            return;
        }
        ExpandTemplate(
            text.data(), text.size(), [&out](auto const* first, auto const* last) { out.append(first, last); },
            [&](std::size_t index)
            {
                if (index >= count)
                    return false;
                appendArgument(out, index);
                return true;
            });
    }
}
