#include "settings/RoutingHook.h"

#include <QzLog/Logger.h>

#include <utility>

namespace QzLogKit
{
    namespace
    {
        void SetCatalog(RoutingTable const& table, QzLog::Logger& logger)
        {
            if (CatalogSettings const* const found = FindCatalog(table.mSettings, logger.GetName()))
            {
                auto const index = static_cast<std::size_t>(found - table.mSettings.mCatalogs.data());
                logger.SetMessageCatalog(table.mCatalogs[index].get());
                return;
            }
            // A catalog that the program itself has set stays.
            QzBase::CountedPtr<QzLog::MessageCatalog> const present(logger.GetMessageCatalog());
            if (present && IsOwnCatalog(present.get()))
                logger.SetMessageCatalog(nullptr);
        }

        void SetDestinations(RoutingTable const& table, QzLog::Dispatcher& dispatcher, QzLog::Logger& logger)
        {
            // The change is one exchange of lists: a message is delivered to the old ones or to the new ones, and none
            // falls between them.
            Route const* const found = FindRoute(table.mSettings, logger.GetName(), dispatcher.GetName());
            if (found)
                dispatcher.SetDestinations(
                    table.mLists[static_cast<std::size_t>(found - table.mSettings.mRoutes.data())]);
            else
                dispatcher.SetDestinations(nullptr);
        }
    }

    RoutingTablePtr RoutingHook::GetTable() const
    {
        ForkSafeLock::ReadHold const hold(mLock);
        return mpTable;
    }

    RoutingHook::Names RoutingHook::GetNames() const
    {
        ForkSafeLock::ReadHold const hold(mLock);
        return mNames;
    }

    void RoutingHook::SetTable(RoutingTablePtr table)
    {
        {
            ForkSafeLock::WriteHold const hold(mLock);
            // The old one is released without the lock.
            mpTable.swap(table);
        }
        // Whoever took the old table has left its name here before. Of two threads that create one object, the second
        // finds that of the first and drops its own.
        for (auto const& [loggerName, dispatcherNames] : GetNames())
        {
            QzBase::CountedPtr<QzLog::Logger> const logger(QzLog::GetLogger(loggerName.c_str()));
            for (std::string const& name : dispatcherNames)
                logger->GetDispatcherCollection()->GetDispatcherHandle(name.c_str());
        }
    }

    void RoutingHook::ConfigureLogger(QzLog::Logger* logger)
    {
        {
            ForkSafeLock::WriteHold const hold(mLock);
            mNames[logger->GetName()];
        }
        // Another thread may have exchanged the table and reached this logger in the meantime.
        RoutingTablePtr table;
        while (table != GetTable())
        {
            table = GetTable();
            SetCatalog(*table, *logger);
        }
    }

    void RoutingHook::ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger* logger)
    {
        {
            ForkSafeLock::WriteHold const hold(mLock);
            mNames[logger->GetName()].insert(dispatcher->GetName());
        }
        RoutingTablePtr table;
        while (table != GetTable())
        {
            table = GetTable();
            SetDestinations(*table, *dispatcher, *logger);
        }
    }
}
