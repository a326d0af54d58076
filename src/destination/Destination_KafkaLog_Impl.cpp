#include "destination/Destination_KafkaLog_Impl.h"

#include "destination/Destination_DiskFile_Impl.h"
#include "destination/Losses.h"
#include "os/Fork.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "support/base/Features.h"
#include "support/kafka/Client.h"
#include "support/kafka/TopicLosses.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzBase/WideString.h>
#include <QzLog/MessageHeader.h>

#include <atomic>
#include <string>
#include <string_view>
#include <utility>

namespace QzLog
{
    using namespace QzBase::Literals;
    using KafkaClient::KafkaProducer;

    namespace
    {
        constexpr unsigned short const* kStreamName = u"Kvel.ReportingEngine.Diag"_w;
        constexpr unsigned short const* kSettingsSuffix = u".RegtrySettings"_w;
        constexpr unsigned short kSeparator = '.';

        constexpr unsigned int kProbeIntervalMilliseconds = 10'000;

        // No producer has this status, so the first message of an object counts as a change.
        constexpr int kNoStatus = -1;

        /// What all objects share, for the life of the process.
        struct Shared
        {
            // Guards what follows. Outermost: the module's and the client's locks are taken under it. The message topic
            // and its losses do not change once mTopicIsConfigured is set, and are then read without the lock.
            QzSynch::CriticalSectionPtr mpLock{
                QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryStatic, QzSynch::ForkHold::kOutermost)};
            std::atomic<bool> mTopicIsConfigured{false};
            QzBase::WideString mMessageTopic;
            KafkaClient::TopicLosses* mpLosses = nullptr;
            QzBase::WideString mSettingsText;
            QzBase::WideString mSettingsTopic;
        };

        Shared& GetShared()
        {
            // Not destroyed: a static object of the host program may log until the process ends.
            static Shared& shared = *new Shared;
            return shared;
        }

        // Created when the library is loaded: after a fork during the first use, the child would wait for a thread
        // that it does not have.
        [[maybe_unused]] Shared& gShared = GetShared();

        constinit QzBase::FeatureQuery gFeature(u"KS/SLMS"_w);

        /// Built on first use, and unchanged from then on.
        QzBase::WideString const& GetSettingsTopic(Shared& shared, ModuleMain& module)
        {
            QzSynch::CriticalSection::SmartLock const hold(*shared.mpLock);
            if (shared.mSettingsTopic.empty())
            {
                QzBase::WideString topic = kStreamName;
                topic += kSeparator;
                topic += QzBase::UTF8ToWideChar(module.GetMachineName(), false).c_str();
                topic += kSeparator;
                topic += module.GetServerInstanceName().c_str();
                topic += kSettingsSuffix;
                shared.mSettingsTopic.swap(topic);
            }
            return shared.mSettingsTopic;
        }

        /// Whether there is something to report. Costs two memory reads: every message asks.
        bool LossesExist(Shared const& shared)
        {
            return shared.mTopicIsConfigured.load(std::memory_order_acquire) && shared.mpLosses->Exist();
        }

        /// Whether the client took the record. The topic has its name.
        bool SendRecord(Shared const& shared, QzBase::ReturnString const& text)
        {
            std::string_view record(text.c_str(), text.size());
            if (record.ends_with('\n'))
                record.remove_suffix(1);
            // The client makes the one copy that it needs.
            return KafkaClient::GetClient().SendTo(*shared.mpLosses, record);
        }

        /// Under the lock, once.
        void NameTopic(Shared& shared, QzBase::WideString topic)
        {
            shared.mpLosses = &KafkaClient::GetTopicLosses(topic);
            shared.mMessageTopic.swap(topic);
            shared.mTopicIsConfigured.store(true, std::memory_order_release);
        }

        /// Whether the client took the text makes no difference: it is kept.
        void SendSettings(Shared& shared, unsigned short const* text)
        {
            // A destination that has outlived the module still handles records, but not settings.
            if (ModulePin const module; module)
                KafkaProducer::Send(GetSettingsTopic(shared, *module), 0, nullptr, QzDataType::Variant(text, nullptr));
        }
    }

    Destination_KafkaLog::~Destination_KafkaLog() = default;

    Destination_KafkaLog_Impl::Destination_KafkaLog_Impl(unsigned short const* path)
        : mpDiskFile(RequiredModule()->GetDestination_DiskFile(path)),
          mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault)),
          mLastProbeTime(QzDataType::DateTime::NowUTC()),
          mLastStatus(kNoStatus)
    {
    }

    QZLOG_CALL_FRAME void Destination_KafkaLog_Impl::WriteMessage(char const* bodyText, MessageHeader& header)
    {
        if (QzOs::IsForking())
            return;
        Shared const& shared = GetShared();
        if (mpDiskFile && LossesExist(shared))
            ReportLosses(*mpDiskFile, header.GetHostName(), header.GetServerName());
        if (gFeature.IsEnabled() && KafkaIsToBeTried())
        {
            QzBase::ReturnString const text =
                FormatMultiLineMessageText(header.GetMessageID(), header.GetHeaderText(), bodyText, true);
            if (SendRecord(shared, text))
                return;
        }
        if (mpDiskFile)
            mpDiskFile->WriteMessage(bodyText, header);
    }

    /// Whether the next record goes to the client first. Sends the settings text before it if a broker has connected.
    bool Destination_KafkaLog_Impl::KafkaIsToBeTried()
    {
        int const status = KafkaProducer::GetKafkaProducerStatus();
        // Both are updated whatever follows, so that neither the interval nor a change is noticed late.
        bool const probeIsDue = ProbeIsDue(status);
        bool const statusHasChanged = StatusHasChanged(status);

        Shared& shared = GetShared();
        if (!shared.mTopicIsConfigured.load(std::memory_order_acquire))
            return false;
        if (status != KafkaProducer::kStatusUp)
            return probeIsDue;
        if (!probeIsDue && statusHasChanged)
        {
            QzSynch::CriticalSection::SmartLock const hold(*shared.mpLock);
            if (!shared.mSettingsText.empty())
                SendSettings(shared, shared.mSettingsText.c_str());
        }
        return true;
    }

    void Destination_KafkaLog_Impl::ReportLosses(
        Destination_DiskFile& file, char const* hostName, char const* serverName)
    {
        Shared const& shared = GetShared();
        if (!LossesExist(shared))
            return;
        // Not the header of the present message or its thread: the line is about neither.
        QzBase::CountedPtr<MessageHeader> const header(CreateMessageHeader());
        header->SetHostName(hostName);
        header->SetServerName(serverName);
        header->SetProcessID(QzBase::GetCurrentProcessID());
        header->SetThreadID(static_cast<unsigned int>(QzBase::GetCurrentThreadID()));

        KafkaClient::TopicLosses& topicLosses = *shared.mpLosses;
        KafkaClient::Losses losses = topicLosses.Take();
        bool isTold = losses.mCount == 0;
        try
        {
            // The module makes no other disk files.
            isTold = isTold || static_cast<Destination_DiskFile_Impl&>(file).WriteForeignRecord(
                                   MakeMissedMessagesLine(*header, losses.mCount, losses.mSince, losses.mReason));
        }
        catch (...)
        {
            topicLosses.PutBack(std::move(losses));
            throw;
        }
        if (!isTold)
            topicLosses.PutBack(std::move(losses));
    }

    bool Destination_KafkaLog_Impl::ProbeIsDue(int status)
    {
        if (status != KafkaProducer::kStatusDown)
            return false;
        QzDataType::DateTime const now = QzDataType::DateTime::NowUTC();
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const elapsed = static_cast<unsigned int>((now - mLastProbeTime).GetTotalMilliseconds());
            if (elapsed <= kProbeIntervalMilliseconds)
                return false;
        }
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        mLastProbeTime = QzDataType::DateTime::NowUTC();
        return true;
    }

    bool Destination_KafkaLog_Impl::StatusHasChanged(int status)
    {
        // One of the threads that see a change reports it.
        return mLastStatus.load(std::memory_order_relaxed) != status && mLastStatus.exchange(status) != status;
    }

    QzBase::ReturnPtrI<Destination_DiskFile> Destination_KafkaLog_Impl::GetDiskFileDestination()
    {
        return QzBase::ReturnPtrI<Destination_DiskFile>(mpDiskFile.get());
    }

    void Destination_KafkaLog_Impl::ConfigureKafkaTopic(
        unsigned short const* computerName, unsigned short const* serverName)
    {
        Shared& shared = GetShared();
        if (shared.mTopicIsConfigured.load(std::memory_order_acquire))
            return;
        if (!computerName || !*computerName || !serverName || !*serverName)
            return;

        QzSynch::CriticalSection::SmartLock const hold(*shared.mpLock);
        if (shared.mTopicIsConfigured.load(std::memory_order_relaxed))
            return;
        QzBase::WideString topic = kStreamName;
        topic += kSeparator;
        topic += computerName;
        topic += kSeparator;
        topic += serverName;
        NameTopic(shared, std::move(topic));
    }

    void Destination_KafkaLog_Impl::PublishRegistrySettings(unsigned short const* text)
    {
        Shared& shared = GetShared();
        if (KafkaProducer::GetKafkaProducerStatus() == KafkaProducer::kStatusUp)
            SendSettings(shared, text);
        QzSynch::CriticalSection::SmartLock const hold(*shared.mpLock);
        shared.mSettingsText = text ? text : u""_w;
    }

    bool SetKafkaTopic(unsigned short const* topic)
    {
        if (!topic || !*topic)
            return false;
        Shared& shared = GetShared();
        QzSynch::CriticalSection::SmartLock const hold(*shared.mpLock);
        if (!shared.mTopicIsConfigured.load(std::memory_order_relaxed))
        {
            QzBase::WideString settingsTopic = topic;
            settingsTopic += kSettingsSuffix;
            NameTopic(shared, topic);
            if (shared.mSettingsTopic.empty())
                shared.mSettingsTopic.swap(settingsTopic);
        }
        return shared.mMessageTopic == topic;
    }

    QzBase::ReturnWString GetKafkaTopic()
    {
        Shared& shared = GetShared();
        bool const hasName = shared.mTopicIsConfigured.load(std::memory_order_acquire);
        return QzBase::ReturnWString(hasName ? shared.mMessageTopic.c_str() : u""_w);
    }
}
