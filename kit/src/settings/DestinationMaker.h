#pragma once

#include "settings/Settings.h"

#include <QzBase/CountedPtr.h>
#include <QzLog/Dispatcher.h>
#include <QzLogKit/Routing.h>

#include <map>
#include <span>
#include <string>

namespace QzLogKit
{
    using DestinationPtr = QzBase::CountedPtr<QzLog::Destination>;

    /// A destination of the settings, from the inside to the outside.
    struct MadeDestination
    {
        DestinationSettings mSettings;
        /// The object of the core, or what messages are passed on to.
        DestinationPtr mpCore;
        /// The first, as the decorator returned it, or what passes messages on to the second.
        DestinationPtr mpWrapper;
        /// What dispatchers have.
        DestinationPtr mpUsed;
    };

    /// By name.
    using MadeDestinations = std::map<std::string, MadeDestination>;

    /// Makes the destinations that routes use. What `before` holds is used again as far as it can be. Nothing that is
    /// in use is changed yet; see SetUpDestinations.
    MadeDestinations MakeDestinations(
        Settings const& settings, MadeDestinations const& before, Routing::Decorator const& decorator);

    /// Gives the destinations that are used again what is new in their settings: limits, IDs, selections.
    void SetUpDestinations(MadeDestinations const& made, MadeDestinations const& before);

    /// A list for Dispatcher::SetDestinations.
    QzBase::CountedPtr<QzLog::DestinationCollection> MakeList(
        std::span<std::string const> names, MadeDestinations const& made);
}
