#pragma once

#include "mask/SecretFinder.h"

#include <memory>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Names of the sets that are built in.
    std::vector<std::string> GetMaskSetNames();

    /// \param name  one of those.
    std::vector<std::unique_ptr<SecretFinder>> MakeMaskSet(std::string const& name);
}
