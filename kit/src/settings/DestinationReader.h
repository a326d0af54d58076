#pragma once

#include "settings/Section.h"
#include "settings/Settings.h"

namespace QzLogKit
{
    /// The destinations by their names. What two of them say about one object of the core (one file, the system log)
    /// must agree.
    std::map<std::string, DestinationSettings> ReadDestinations(
        Section destinations, std::optional<std::string> const& basePath);

    /// What is expected where one of these should be named.
    std::string ExpectDestination(std::map<std::string, DestinationSettings> const& destinations);

    /// The key "language" of a section.
    std::optional<unsigned short> ReadLanguage(Section& section);
}
