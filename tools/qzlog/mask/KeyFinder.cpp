#include "mask/KeyFinder.h"

#include "Trouble.h"
#include "mask/KeyValue.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        std::string MakeAlternatives(std::vector<std::string> const& names)
        {
            std::string expression;
            for (std::string const& name : names)
                expression += (expression.empty() ? "(?i)(?:" : "|") + RE2::QuoteMeta(name);
            return expression + ')';
        }

        RE2::Options MakeNameOptions()
        {
            RE2::Options options;
            options.set_log_errors(false);
            // Of two names that begin alike the longer one.
            options.set_longest_match(true);
            return options;
        }
    }

    KeyFinder::KeyFinder(std::vector<std::string> const& names) : mNames(MakeAlternatives(names), MakeNameOptions())
    {
        bool const hasEmpty = std::find(names.begin(), names.end(), std::string()) != names.end();
        if (hasEmpty || !mNames.ok())
            throw Trouble(hasEmpty ? "--key: a name is empty" : "--key: " + mNames.error());
    }

    bool KeyFinder::Find(std::string_view text, std::size_t from, Secret& secret) const
    {
        re2::StringPiece const all(text.data(), text.size());
        re2::StringPiece name;
        while (from < text.size() && mNames.Match(all, from, text.size(), RE2::UNANCHORED, &name, 1))
        {
            std::size_t const begin = static_cast<std::size_t>(name.data() - text.data());
            if (FindValueOf(text, begin, begin + name.size(), secret))
                return true;
            from = begin + 1;
        }
        return false;
    }
}
