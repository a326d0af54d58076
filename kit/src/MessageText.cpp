#include "MessageText.h"

#include <cstdio>

namespace QzLogKit
{
    std::string SourcePlace(std::string_view file, unsigned int line)
    {
        return std::string(file.substr(file.find_last_of('/') + 1)) + ":" + std::to_string(line);
    }

    std::string MessageIDText(unsigned int id)
    {
        char text[sizeof("0x80000304")];
        std::snprintf(text, sizeof(text), "0x%08X", id);
        return text;
    }
}
