#pragma once

#include <string>
#include <string_view>

// What texts of the kit call a message.

namespace QzLogKit
{
    /// "Client.cpp:77" for a file that may have its directories.
    std::string SourcePlace(std::string_view file, unsigned int line);

    /// "0x80000304"
    std::string MessageIDText(unsigned int id);
}
