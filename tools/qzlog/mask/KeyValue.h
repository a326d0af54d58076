#pragma once

#include "mask/SecretFinder.h"

namespace QzLogTool
{
    /// Finds the value of a name, which stands from `begin` up to and without `end`. False when it is no name there, or
    /// has no value. See KeyFinder.
    bool FindValueOf(std::string_view text, std::size_t begin, std::size_t end, Secret& secret);
}
