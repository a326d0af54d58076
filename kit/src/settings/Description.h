#pragma once

#include "settings/RoutingHook.h"
#include "settings/Settings.h"

#include <string>

namespace QzLogKit
{
    /// The settings for humans, in lines that end in LF.
    /// \param names  the loggers and dispatchers that exist, to be listed with their routes.
    std::string DescribeSettings(Settings const& settings, RoutingHook::Names const& names);
}
