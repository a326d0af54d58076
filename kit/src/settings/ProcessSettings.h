#pragma once

#include "settings/Settings.h"

namespace QzLogKit
{
    /// Puts in force what belongs to the process: Kafka's client, the names, the language and the base path, in this
    /// order, so that what can be refused comes first. Throws SettingsError if the client refuses a property, or if
    /// Kafka's topic has another name already; then nothing has changed.
    ///
    /// \param before  the settings in force, or null. What they have set and `now` leaves out returns to the core's
    ///                default.
    void ApplyToProcess(Settings const& now, Settings const* before);

    /// Publishes the settings through Kafka, if they ask for it.
    void PublishSettings(Settings const& settings);
}
