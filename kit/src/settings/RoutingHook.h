#pragma once

#include "ForkSafeLock.h"
#include "settings/DestinationMaker.h"
#include "settings/Settings.h"

#include <QzLog/ConfigurationHook.h>
#include <QzLog/MessageCatalog.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace QzLogKit
{
    /// Settings with the objects that they stand for. Never changed once a hook has it, so that hook calls in progress
    /// go on with the one that they took.
    struct RoutingTable
    {
        Settings mSettings;
        MadeDestinations mDestinations;
        /// One for each route and each catalog of the settings.
        std::vector<QzBase::CountedPtr<QzLog::DestinationCollection>> mLists;
        std::vector<QzBase::CountedPtr<QzLog::MessageCatalog>> mCatalogs;
    };

    using RoutingTablePtr = std::shared_ptr<RoutingTable const>;

    /// Gives loggers and dispatchers what the present table says.
    class RoutingHook final : public QzSynch::Counted<QzLog::ConfigurationHook>
    {
    public:
        /// The dispatchers by the name of their logger.
        using Names = std::map<std::string, std::set<std::string>>;

        /// Null before the first SetTable.
        RoutingTablePtr GetTable() const;

        /// The names of all that this hook has been called for.
        Names GetNames() const;

        /// Exchanges the table and sees to it that every logger and dispatcher that was configured by the old one can
        /// be reached by RefreshConfiguration, which is to follow: one that another thread is creating at this moment
        /// is configured before it is entered anywhere, and would keep the old table for good.
        void SetTable(RoutingTablePtr table);

        void ConfigureLogger(QzLog::Logger* logger) override;
        void ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger* logger) override;

    private:
        // Guards the members; no log call takes it.
        mutable ForkSafeLock mLock;
        RoutingTablePtr mpTable;
        Names mNames;
    };
}
