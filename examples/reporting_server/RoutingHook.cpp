#include "RoutingHook.h"

#include "DestinationList.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Logger.h>
#include <QzLog/Module.h>
#include <QzResource/Localizer.h>

namespace ReportingServer
{
    namespace
    {
        void ApplyToProcess(Settings const& settings)
        {
            QzResource::SetProcessLanguageID(settings.mLanguageID);
            QzLog::SetServerInstanceName(QzBase::UTF8ToWideChar(settings.mServerName.c_str(), true).c_str());
            // Before any file is asked for: relative paths are joined to it, and files that are there move.
            QzLog::SetBasePath(QzBase::UTF8ToWideChar(settings.mBasePath.c_str(), false).c_str());
        }
    }

    RoutingHook::RoutingHook(QzBase::CountedPtr<QzLog::MessageCatalog> catalog)
        : mpCatalog(std::move(catalog)), mpTable(std::make_shared<Table const>())
    {
    }

    void RoutingHook::Apply(Settings const& settings)
    {
        auto const table = std::make_shared<Table>();
        ApplyToProcess(settings);
        try
        {
            DestinationMaker maker(settings);
            for (Route const& route : settings.mRoutes)
                (*table)[route.mLogger + "/" + route.mDispatcher] = maker.MakeList(route.mTargets);
            mSettings = settings;
        }
        catch (...)
        {
            if (mSettings)
                ApplyToProcess(*mSettings);
            throw;
        }
        std::lock_guard const hold(mTableLock);
        mpTable = table;
    }

    void RoutingHook::ConfigureLogger(QzLog::Logger* logger)
    {
        logger->SetMessageCatalog(mpCatalog.get());
    }

    void RoutingHook::ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger* logger)
    {
        std::shared_ptr<Table const> table;
        {
            std::lock_guard const hold(mTableLock);
            table = mpTable;
        }
        std::string const name = dispatcher->GetName();
        auto found = table->find(logger->GetName() + ("/" + name));
        if (found == table->end())
            found = table->find("*/" + name);

        // The change is one exchange of lists: a message is delivered to the old ones or to the new ones, and none
        // falls between them. No list switches the dispatcher and its routers off.
        dispatcher->SetDestinations(found == table->end() ? nullptr : found->second);
    }
}
