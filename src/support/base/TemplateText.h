#pragma once

#include <QzBase/details/TemplateText.h>

#include <cstddef>

namespace QzBase
{
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
