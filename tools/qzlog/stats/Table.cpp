#include "stats/Table.h"

#include "Characters.h"
#include "output/Lines.h"

#include <json/writer.h>

#include <algorithm>

namespace QzLogTool
{
    std::size_t GetWidth(std::string_view text)
    {
        return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), ContinuesCharacter));
    }

    std::string MakeLabel(std::string const& name, std::size_t longest)
    {
        std::string label;
        AppendVisible(label, MakeWellFormed(name));
        bool const isTooLong = GetWidth(label) > longest;
        while (GetWidth(label) > longest - (isTooLong ? 3 : 0))
            label.pop_back();
        return isTooLong ? label + "..." : label;
    }

    std::string MakeRest(std::size_t all, std::size_t shown)
    {
        return all > shown ? " (and " + std::to_string(all - shown) + " more)" : std::string();
    }

    void PrintColumns(Output& output, std::vector<std::vector<std::string>> const& rows)
    {
        std::size_t const last = rows[0].size() - 1;
        std::vector<std::size_t> widths(last, 0);
        for (std::vector<std::string> const& row : rows)
            for (std::size_t i = 0; i + 1 < row.size(); ++i)
                widths[i] = std::max(widths[i], GetWidth(row[i]));
        for (std::vector<std::string> const& row : rows)
        {
            std::string line;
            for (std::size_t i = 0; i + 1 < row.size(); ++i)
                line += std::string(widths[i] - GetWidth(row[i]), ' ') + row[i] + "  ";
            if (row.size() == 1)
                line = "    ";
            output.Write(line + row.back() + '\n');
        }
    }

    void PrintJsonLine(Output& output, Json::Value const& value)
    {
        Json::StreamWriterBuilder builder;
        builder["indentation"] = "";
        output.Write(Json::writeString(builder, value) + '\n');
    }
}
