#include "settings/DestinationMaker.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzLogKit/Destination_Language.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <utility>

namespace QzLogKit
{
    namespace
    {
        class DestinationList final : public QzSynch::Counted<QzLog::DestinationCollection>
        {
        public:
            explicit DestinationList(std::vector<DestinationPtr> destinations) : mDestinations(std::move(destinations))
            {
            }

            unsigned int GetCount() override { return static_cast<unsigned int>(mDestinations.size()); }
            QzLog::Destination* GetDestination(unsigned int index) override { return mDestinations[index].get(); }

        private:
            std::vector<DestinationPtr> const mDestinations;
        };

        DestinationPtr GetObjectOfCore(DestinationSettings const& settings)
        {
            QzBase::ReturnWString const path = QzBase::UTF8ToWideChar(settings.mPath.c_str(), false);
            switch (settings.mType)
            {
            case DestinationType::DebugOutput:
                return QzLog::GetDestination_DebugOutput();
            case DestinationType::SystemLog:
                return QzLog::GetDestination_SystemLog();
            case DestinationType::File:
                return QzLog::GetDestination_DiskFile(path.c_str());
            case DestinationType::Kafka:
                return QzLog::GetDestination_KafkaLog(path.c_str());
            }
            return nullptr;
        }

        DestinationPtr Decorate(
            std::string const& name, DestinationPtr const& destination, Routing::Decorator const& decorator)
        {
            if (!decorator)
                return destination;
            DestinationPtr decorated = decorator(name, destination);
            return decorated ? decorated : destination;
        }

        MadeDestination Make(std::string const& name, DestinationSettings const& settings, MadeDestinations const& made,
            Routing::Decorator const& decorator)
        {
            auto const found = made.find(name);
            MadeDestination before = found == made.end() ? MadeDestination() : found->second;
            MadeDestination now{settings, GetObjectOfCore(settings), nullptr, nullptr};
            now.mpDecorated = now.mpCore == before.mpCore ? before.mpDecorated : Decorate(name, now.mpCore, decorator);
            bool const isSame =
                now.mpDecorated == before.mpDecorated && settings.mLanguageID == before.mSettings.mLanguageID;
            if (isSame)
                now.mpUsed = before.mpUsed;
            else
                now.mpUsed = settings.mLanguageID == 0
                                 ? now.mpDecorated
                                 : DestinationPtr(CreateDestination_Language(*now.mpDecorated, settings.mLanguageID));
            return now;
        }

        void SetUpFile(QzLog::Destination_DiskFile& file, DestinationSettings const& settings)
        {
            file.SetMaxFileSize(settings.mMaxFileSize);
            file.SetBackupCount(settings.mBackupCount);
            file.SetRetryInterval(settings.mRetryInterval);
            file.SetRecovery(settings.mRecovery);
        }

        void SetCallStackIDs(QzLog::Destination& destination, DestinationSettings const& settings)
        {
            destination.SetCallstackMessageIDs(
                settings.mCallStackIDs.data(), static_cast<unsigned int>(settings.mCallStackIDs.size()));
        }

        void SetUp(QzLog::Destination& destination, DestinationSettings const& settings)
        {
            SetCallStackIDs(destination, settings);
            if (auto* const file = dynamic_cast<QzLog::Destination_DiskFile*>(&destination))
                SetUpFile(*file, settings);
            else if (auto* const systemLog = dynamic_cast<QzLog::Destination_SystemLog*>(&destination))
            {
                if (!settings.mSource.empty())
                    systemLog->SetEventSource(settings.mSource.c_str());
            }
            else if (auto* const kafka = dynamic_cast<QzLog::Destination_KafkaLog*>(&destination))
            {
                QzBase::CountedPtr<QzLog::Destination_DiskFile> const fallback(kafka->GetDiskFileDestination());
                SetUpFile(*fallback, settings);
                SetCallStackIDs(*fallback, settings);
            }
        }
    }

    MadeDestinations MakeDestinations(
        Settings const& settings, MadeDestinations const& before, Routing::Decorator const& decorator)
    {
        MadeDestinations made;
        for (Route const& route : settings.mRoutes)
            for (std::string const& name : route.mTargets)
                if (!made.contains(name))
                    made.emplace(name, Make(name, settings.mDestinations.at(name), before, decorator));
        return made;
    }

    void SetUpDestinations(MadeDestinations const& made)
    {
        for (auto const& [name, destination] : made)
            SetUp(*destination.mpCore, destination.mSettings);
    }

    QzBase::CountedPtr<QzLog::DestinationCollection> MakeList(
        std::span<std::string const> names, MadeDestinations const& made)
    {
        std::vector<DestinationPtr> destinations;
        destinations.reserve(names.size());
        for (std::string const& name : names)
            destinations.push_back(made.at(name).mpUsed);
        return new DestinationList(std::move(destinations));
    }
}
