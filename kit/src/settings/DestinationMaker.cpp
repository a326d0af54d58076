#include "settings/DestinationMaker.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzLog/LossObserver.h>
#include <QzLogKit/DestinationList.h>
#include <QzLogKit/Destination_Language.h>

#include <chrono>
#include <set>
#include <utility>

namespace QzLogKit
{
    namespace
    {
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
            default:
                return nullptr;
            }
        }

        DestinationPtr Decorate(
            std::string const& name, DestinationPtr const& destination, Routing::Decorator const& decorator)
        {
            if (!decorator)
                return destination;
            DestinationPtr decorated = decorator(name, destination);
            return decorated ? decorated : destination;
        }

        DestinationPtr Wrap(DestinationPtr const& target, DestinationSettings const& settings)
        {
            switch (settings.mType)
            {
            case DestinationType::RateLimit:
                return CreateDestination_RateLimit(
                    *target, {settings.mMessages, std::chrono::seconds(settings.mPeriod)}, settings.mPer);
            case DestinationType::Selection:
                return CreateDestination_Selection(*target, settings.mSelection);
            default:
                return target;
            }
        }

        /// Whether what passes messages on can go on with its counts. A selection is changed in place.
        bool IsSameWrapper(DestinationSettings const& now, DestinationSettings const& before)
        {
            return now.mType == before.mType && now.mMessages == before.mMessages && now.mPeriod == before.mPeriod &&
                   now.mPer == before.mPer;
        }

        class Maker
        {
        public:
            Maker(Settings const& settings, MadeDestinations const& before, Routing::Decorator const& decorator)
                : mSettings(settings), mBefore(before), mDecorator(decorator)
            {
            }

            /// Makes a destination with those that it passes messages on to, each once.
            MadeDestination const& Make(std::string const& name)
            {
                auto const made = mMade.find(name);
                if (made != mMade.end())
                    return made->second;
                DestinationSettings const& settings = mSettings.mDestinations.at(name);
                bool const isWrapper = !settings.mTo.empty();
                MadeDestination now{
                    settings, isWrapper ? Make(settings.mTo).mpUsed : GetObjectOfCore(settings), nullptr, nullptr};

                auto const found = mBefore.find(name);
                MadeDestination const before = found == mBefore.end() ? MadeDestination() : found->second;
                if (now.mpCore == before.mpCore && IsSameWrapper(settings, before.mSettings))
                    now.mpWrapper = before.mpWrapper;
                else
                    now.mpWrapper = isWrapper ? Wrap(now.mpCore, settings) : Decorate(name, now.mpCore, mDecorator);
                if (now.mpWrapper == before.mpWrapper && settings.mLanguageID == before.mSettings.mLanguageID)
                    now.mpUsed = before.mpUsed;
                else
                    now.mpUsed = InLanguage(now.mpWrapper, settings.mLanguageID);
                return mMade.emplace(name, std::move(now)).first->second;
            }

            MadeDestinations Take() { return std::move(mMade); }

        private:
            static DestinationPtr InLanguage(DestinationPtr const& destination, unsigned short languageID)
            {
                return languageID == 0 ? destination
                                       : DestinationPtr(CreateDestination_Language(*destination, languageID));
            }

            Settings const& mSettings;
            MadeDestinations const& mBefore;
            Routing::Decorator const& mDecorator;
            MadeDestinations mMade;
        };

        using DiskFilePtr = QzBase::CountedPtr<QzLog::Destination_DiskFile>;

        /// The disk file that an object of the core writes; null if it writes none.
        DiskFilePtr GetDiskFile(QzLog::Destination& core)
        {
            if (auto* const kafka = dynamic_cast<QzLog::Destination_KafkaLog*>(&core))
                return DiskFilePtr(kafka->GetDiskFileDestination());
            return DiskFilePtr(dynamic_cast<QzLog::Destination_DiskFile*>(&core));
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

        void SetUp(QzLog::Destination& core, DestinationSettings const& settings)
        {
            SetCallStackIDs(core, settings);
            if (DiskFilePtr const file = GetDiskFile(core))
            {
                SetUpFile(*file, settings);
                SetCallStackIDs(*file, settings);
            }
            else if (auto* const systemLog = dynamic_cast<QzLog::Destination_SystemLog*>(&core))
            {
                if (!settings.mSource.empty())
                    systemLog->SetEventSource(settings.mSource.c_str());
            }
        }

        std::set<QzLog::Destination_DiskFile*> FindFilesThatReportLosses(MadeDestinations const& made)
        {
            std::set<QzLog::Destination_DiskFile*> files;
            for (auto const& [name, destination] : made)
                if (destination.mSettings.mReportsLosses)
                    files.insert(GetDiskFile(*destination.mpCore).get());
            return files;
        }

        /// By file, since it outlives its destination: the type may change, and it may leave the routes for a while.
        /// An observer of the program's own stays.
        void SetUpLossObservers(MadeDestinations const& made, MadeDestinations const& before)
        {
            auto const filesNow = FindFilesThatReportLosses(made);
            auto const filesBefore = FindFilesThatReportLosses(before);
            for (QzLog::Destination_DiskFile* const file : filesNow)
                if (!filesBefore.contains(file))
                    file->SetLossObserver(QzLog::CreateSystemLogLossObserver().get());
            for (QzLog::Destination_DiskFile* const file : filesBefore)
                if (!filesNow.contains(file))
                    file->SetLossObserver(nullptr);
        }
    }

    MadeDestinations MakeDestinations(
        Settings const& settings, MadeDestinations const& before, Routing::Decorator const& decorator)
    {
        Maker maker(settings, before, decorator);
        for (Route const& route : settings.mRoutes)
            for (std::string const& name : route.mTargets)
                maker.Make(name);
        return maker.Take();
    }

    void SetUpDestinations(MadeDestinations const& made, MadeDestinations const& before)
    {
        for (auto const& [name, destination] : made)
        {
            DestinationSettings const& settings = destination.mSettings;
            if (settings.mTo.empty())
                SetUp(*destination.mpCore, settings);
            auto* const selection = dynamic_cast<Destination_Selection*>(destination.mpWrapper.get());
            auto const found = before.find(name);
            // What the program has selected meanwhile stays, unless the file has changed.
            if (selection && found != before.end() && found->second.mpWrapper == destination.mpWrapper &&
                settings.mSelection != found->second.mSettings.mSelection)
                selection->Select(settings.mSelection);
        }
        SetUpLossObservers(made, before);
    }

    QzBase::CountedPtr<QzLog::DestinationCollection> MakeList(
        std::span<std::string const> names, MadeDestinations const& made)
    {
        std::vector<DestinationPtr> destinations;
        for (std::string const& name : names)
            destinations.push_back(made.at(name).mpUsed);
        return CreateDestinationList(destinations);
    }
}
