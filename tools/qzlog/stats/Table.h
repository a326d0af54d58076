#pragma once

#include "output/Output.h"

#include <json/value.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    /// How many columns a text takes, about.
    std::size_t GetWidth(std::string_view text);

    /// A name as a terminal may see it, cut to so many columns.
    std::string MakeLabel(std::string const& name, std::size_t longest);

    /// What follows a title when not all rows are shown: " (and 3 more)", or nothing.
    std::string MakeRest(std::size_t all, std::size_t shown);

    /// Prints rows of as many texts as the first, the titles, has. All columns but the last are aligned to the right;
    /// a row of one text is a note on the row before it.
    void PrintColumns(Output& output, std::vector<std::vector<std::string>> const& rows);

    /// Prints a line of JSON.
    void PrintJsonLine(Output& output, Json::Value const& value);
}
