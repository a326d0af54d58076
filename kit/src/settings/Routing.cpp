#include <QzLogKit/Routing.h>

#include "settings/ApplyTurn.h"
#include "settings/Description.h"
#include "settings/ProcessSettings.h"
#include "settings/RoutingHook.h"

#include <utility>

namespace QzLogKit
{
    namespace
    {
        /// Undoes what belongs to the process, unless it is told that all went well.
        class ProcessGuard
        {
        public:
            ProcessGuard(Settings const& now, Settings const* before) : mNow(now), mBefore(before)
            {
                ApplyToProcess(mNow, mBefore);
            }

            ~ProcessGuard()
            {
                if (mIsKept)
                    return;
                try
                {
                    ApplyToProcess(mBefore ? *mBefore : Settings(), &mNow);
                }
                catch (...)
                {
                    // What made the settings fail is reported, not what came after it.
                }
            }

            ProcessGuard(ProcessGuard const&) = delete;
            ProcessGuard& operator=(ProcessGuard const&) = delete;

            void Keep() { mIsKept = true; }

        private:
            Settings const& mNow;
            Settings const* const mBefore;
            bool mIsKept = false;
        };

        /// Catalogs whose file is the same stay the same objects.
        std::vector<QzBase::CountedPtr<QzLog::MessageCatalog>> MakeCatalogs(
            Settings const& settings, RoutingTable const* before)
        {
            std::map<CatalogTexts const*, QzBase::CountedPtr<QzLog::MessageCatalog>> made;
            std::vector<QzBase::CountedPtr<QzLog::MessageCatalog>> catalogs;
            for (CatalogSettings const& catalog : settings.mCatalogs)
            {
                QzBase::CountedPtr<QzLog::MessageCatalog>& entry = made[catalog.mpTexts.get()];
                for (std::size_t i = 0; before && !entry && i < before->mCatalogs.size(); ++i)
                    if (*before->mSettings.mCatalogs[i].mpTexts == *catalog.mpTexts)
                        entry = before->mCatalogs[i];
                if (!entry)
                {
                    entry = CreateCatalog(*catalog.mpTexts);
                    RegisterTexts(*catalog.mpTexts);
                }
                catalogs.push_back(entry);
            }
            return catalogs;
        }
    }

    class Routing::Impl
    {
    public:
        void Apply(std::string const& file)
        {
            ApplyTurn const turn;
            PutInForce(file);
            QzLog::SetConfigurationHook(mpHook.get());
            QzLog::RefreshConfiguration();
        }

        void Reload()
        {
            ApplyTurn const turn;
            RoutingTablePtr const table = mpHook->GetTable();
            if (!table)
                throw QzBase::ExceptionImpl<QzBase::Message>(
                    QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, "No settings are in force that could be read again.");
            PutInForce(table->mSettings.mFile);
            QzLog::RefreshConfiguration();
        }

        Decorator mDecorator;
        QzBase::CountedPtr<RoutingHook> const mpHook{new RoutingHook};

    private:
        void PutInForce(std::string const& file)
        {
            auto const table = std::make_shared<RoutingTable>();
            table->mSettings = ReadSettings(file);
            // Throws while no Initializer is alive, when nothing has changed yet.
            QzLog::GetConfigurationHook();

            RoutingTablePtr const before = mpHook->GetTable();
            ProcessGuard process(table->mSettings, before ? &before->mSettings : nullptr);
            MadeDestinations const present = before ? before->mDestinations : MadeDestinations();
            table->mDestinations = MakeDestinations(table->mSettings, present, mDecorator);
            for (Route const& route : table->mSettings.mRoutes)
                table->mLists.push_back(MakeList(route.mTargets, table->mDestinations));
            table->mCatalogs = MakeCatalogs(table->mSettings, before.get());
            SetUpDestinations(table->mDestinations, present);
            process.Keep();

            PublishSettings(table->mSettings);
            mpHook->SetTable(table);
        }
    };

    Routing::Routing() : mpImpl(std::make_unique<Impl>()) {}

    Routing::~Routing() = default;

    void Routing::SetDecorator(Decorator decorator)
    {
        mpImpl->mDecorator = std::move(decorator);
    }

    void Routing::Apply(std::string const& file)
    {
        mpImpl->Apply(file);
    }

    void Routing::Reload()
    {
        mpImpl->Reload();
    }

    std::string Routing::Describe() const
    {
        RoutingTablePtr const table = mpImpl->mpHook->GetTable();
        return table ? DescribeSettings(table->mSettings, mpImpl->mpHook->GetNames()) : "No settings are in force.\n";
    }

    std::string Routing::Check(std::string const& file)
    {
        return DescribeSettings(ReadSettings(file), {});
    }

    QzBase::CountedPtr<QzLog::Destination> Routing::GetDestination(std::string const& name) const
    {
        RoutingTablePtr const table = mpImpl->mpHook->GetTable();
        if (!table)
            return nullptr;
        auto const found = table->mDestinations.find(name);
        return found == table->mDestinations.end() ? nullptr : found->second.mpUsed;
    }

    QzBase::CountedPtr<QzLog::ConfigurationHook> Routing::GetHook() const
    {
        return mpImpl->mpHook;
    }
}
