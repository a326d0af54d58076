#pragma once

#include "Settings.h"

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLog/Dispatcher.h>

#include <map>
#include <string>
#include <vector>

namespace ReportingServer
{
    /// Makes the destinations that settings name, each at most once: two routes to one target share the object.
    class DestinationMaker
    {
    public:
        /// \param settings  must outlive the object.
        explicit DestinationMaker(Settings const& settings) : mSettings(settings) {}

        QzBase::CountedPtr<QzLog::DestinationCollection> MakeList(std::vector<Target> const& targets);

    private:
        QzBase::CountedPtr<QzLog::Destination> GetDestination(Target const& target);

        Settings const& mSettings;
        std::map<std::string, QzBase::CountedPtr<QzLog::Destination>> mMade;
    };
}
