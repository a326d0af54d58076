#pragma once

#include "Settings.h"

#include <QzLog/ConfigurationHook.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/MessageCatalog.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace ReportingServer
{
    /// The one place that says which dispatcher goes where. The library calls it for each new logger and dispatcher
    /// and for all of them in RefreshConfiguration, from any thread.
    class RoutingHook : public QzSynch::Counted<QzLog::ConfigurationHook>
    {
    public:
        explicit RoutingHook(QzBase::CountedPtr<QzLog::MessageCatalog> catalog);

        /// Makes the destinations of these settings and remembers which dispatcher gets them. Existing dispatchers get
        /// them from the RefreshConfiguration that follows. When it throws, the settings before stay. Called by one
        /// thread at a time.
        void Apply(Settings const& settings);

        void ConfigureLogger(QzLog::Logger* logger) override;
        void ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger* logger) override;

    private:
        using Table = std::map<std::string, QzBase::CountedPtr<QzLog::DestinationCollection>>;

        QzBase::CountedPtr<QzLog::MessageCatalog> const mpCatalog;
        std::optional<Settings> mSettings;

        // Never changed once it stands here, so hooks in progress go on with the one they took.
        std::shared_ptr<Table const> mpTable;
        std::mutex mTableLock;
    };
}
