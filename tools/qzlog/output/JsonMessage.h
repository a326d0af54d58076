#pragma once

#include "output/Output.h"
#include "reading/Record.h"

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Writes a record's message as it stands between the quotes of a JSON text: in ASCII, its lines parted by LF,
    /// without its last line end. A long one never stands in memory as a whole.
    /// \param json  is written before it. Receives the end of the message, which is not written yet.
    /// \param text  the message, or what the first part of the record has of it; `source` has the other parts.
    void AppendMessage(std::string& json, std::string_view text, RecordSource& source, Output& output);
}
