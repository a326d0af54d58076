#pragma once

#include <CLI/CLI.hpp>

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
}
