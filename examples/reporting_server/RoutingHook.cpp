#include "RoutingHook.h"

#include "DestinationMaker.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Logger.h>
#include <QzLog/Module.h>
#include <QzResource/Localizer.h>

namespace ReportingServer
{
    using namespace QzBase::Literals;

    namespace
    {
        /// \param before  the settings in force, or null. Brokers that stay the same are not connected anew.
        void ConnectKafka(Settings const& settings, Settings const* before)
        {
            bool const isSame = before ? settings.mKafka == before->mKafka : settings.mKafka.empty();
            if (!isSame)
                KafkaClient::KafkaProducer::Configure(settings.mKafka);
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, !settings.mKafka.empty());
        }

        void ApplyToProcess(Settings const& settings, Settings const* before)
        {
            // The first step, since it alone can refuse: nothing has changed then.
            ConnectKafka(settings, before);
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
        ApplyToProcess(settings, mSettings ? &*mSettings : nullptr);
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
                ApplyToProcess(*mSettings, &settings);
            throw;
        }
        QzLog::UpdateLogRegistryStr(QzBase::UTF8ToWideChar(settings.mPublicText.c_str(), true).c_str());
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
