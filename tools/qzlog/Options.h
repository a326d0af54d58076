#pragma once

#include "Trouble.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Takes one of these words only, and lists them at the end of the description. The completions of the shells read
    /// them there.
    inline CLI::Option* TakeOneOf(CLI::Option* pOption, std::vector<std::string> const& words)
    {
        std::string text = pOption->get_description() + ": " + words.front();
        for (std::size_t i = 1; i < words.size(); ++i)
            text += (i + 1 == words.size() ? " or " : ", ") + words[i];
        return pOption->description(text)->check(CLI::IsMember(words));
    }

    /// Puts the value that the option has without being given at the end of the description.
    inline CLI::Option* ShowDefault(CLI::Option* pOption)
    {
        pOption->capture_default_str();
        return pOption->description(pOption->get_description() + " (" + pOption->get_default_str() + ')');
    }

    /// A check: an empty text is a variable that a script has not set.
    inline std::string RefuseEmpty(std::string const& text)
    {
        return text.empty() ? "is empty" : "";
    }

    /// A check: how many there are to be.
    inline std::string RefuseNoCount(std::string const& text)
    {
        bool const isCount = text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
        return isCount ? "" : "'" + text + "' is no number from 0 to 999999999999999999";
    }

    /// Lets an option come several times, with one value each: an operand that follows is none.
    inline CLI::Option* TakeSeveral(CLI::Option* pOption)
    {
        return pOption->allow_extra_args(false)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }

    /// Adds an option that may come several times and whose values a function reads. What it throws as Trouble is wrong
    /// usage.
    inline CLI::Option* AddRead(CLI::App& app, std::string const& names, char const* valueName, char const* description,
        std::function<void(std::string const&)> const& take)
    {
        auto const takeAll = [take, name = names.substr(0, names.find(','))](CLI::results_t const& values)
        {
            try
            {
                for (std::string const& value : values)
                    take(value);
            }
            catch (Trouble const& trouble)
            {
                throw CLI::ValidationError(name, trouble.what());
            }
            return true;
        };
        return TakeSeveral(app.add_option(names, takeAll, description))->option_text(valueName);
    }
}
