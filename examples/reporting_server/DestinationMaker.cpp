#include "DestinationMaker.h"

#include "NamedDestination.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ReportingServer
{
    namespace
    {
        using DestinationPtr = QzBase::CountedPtr<QzLog::Destination>;

        class DestinationList : public QzSynch::Counted<QzLog::DestinationCollection>
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

        DestinationPtr OpenSystemLog(DestinationSettings const& settings)
        {
            QzBase::CountedPtr<QzLog::Destination_SystemLog> const log(QzLog::GetDestination_SystemLog());
            log->SetEventSource(settings.mEventSource.c_str());
            return log;
        }

        void SetUpFile(QzLog::Destination_DiskFile& file, DestinationSettings const& settings)
        {
            file.SetMaxFileSize(settings.mMaxFileSize);
            file.SetBackupCount(settings.mBackupCount);
            file.SetRecovery(QzLog::kRecoveryStrict);
        }

        void SetCallStackIDs(QzLog::Destination& destination, DestinationSettings const& settings)
        {
            destination.SetCallstackMessageIDs(
                settings.mCallStackIDs.data(), static_cast<unsigned int>(settings.mCallStackIDs.size()));
        }

        DestinationPtr OpenFile(DestinationSettings const& settings)
        {
            QzBase::CountedPtr<QzLog::Destination_DiskFile> const file(
                QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(settings.mPath.c_str(), false).c_str()));
            SetUpFile(*file, settings);
            return file;
        }

        DestinationPtr OpenKafka(DestinationSettings const& settings)
        {
            QzBase::CountedPtr<QzLog::Destination_KafkaLog> const kafka(
                QzLog::GetDestination_KafkaLog(QzBase::UTF8ToWideChar(settings.mPath.c_str(), false).c_str()));
            QzBase::CountedPtr<QzLog::Destination_DiskFile> const file(kafka->GetDiskFileDestination());
            SetUpFile(*file, settings);
            SetCallStackIDs(*file, settings);
            return kafka;
        }

        DestinationPtr Open(DestinationSettings const& settings)
        {
            switch (settings.mType)
            {
            case DestinationSettings::Type::DebugOutput:
                return QzLog::GetDestination_DebugOutput();
            case DestinationSettings::Type::SystemLog:
                return OpenSystemLog(settings);
            case DestinationSettings::Type::File:
                return OpenFile(settings);
            case DestinationSettings::Type::Kafka:
                return OpenKafka(settings);
            }
            throw std::logic_error("a type of destination that nobody opens");
        }
    }

    QzBase::CountedPtr<QzLog::DestinationCollection> DestinationMaker::MakeList(std::vector<Target> const& targets)
    {
        std::vector<DestinationPtr> destinations;
        destinations.reserve(targets.size());
        for (Target const& target : targets)
            destinations.push_back(GetDestination(target));
        return new DestinationList(std::move(destinations));
    }

    DestinationPtr DestinationMaker::GetDestination(Target const& target)
    {
        DestinationPtr& made = mMade[target.mName];
        if (made)
            return made;

        DestinationSettings const& settings =
            *std::ranges::find(mSettings.mDestinations, target.mDestination, &DestinationSettings::mName);
        DestinationPtr const destination = Open(settings);
        SetCallStackIDs(*destination, settings);
        made = new NamedDestination(target.mName, target.mLanguageID, destination);
        return made;
    }
}
