#pragma once

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// What the first line of a message has in common with others of its kind: numbers become N, hexadecimal ones too,
    /// and quoted text becomes three dots. At most some 200 bytes of it.
    /// \param kind  receives it; its memory is used again.
    void MakeMessageKind(std::string_view message, std::string& kind);
}
