#pragma once

#include "output/Output.h"
#include "traces/PrintOut.h"

#include <cstddef>
#include <string>

namespace QzLogTool
{
    /// Shows a print-out of a trace with the names of the commands, those with the largest counts first, at most so
    /// many rows.
    void PrintTrace(Output& output, std::string const& path, PrintOut const& printOut, std::size_t rows);

    /// The same as one JSON object a line, with all rows.
    void PrintTraceAsJson(Output& output, std::string const& path, PrintOut const& printOut);
}
