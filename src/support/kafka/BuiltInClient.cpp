// The Kafka client on the module with librdkafka. A sender touches the producer under a read lock only, so that it
// never waits for the network and never sees it destroyed.

#include "support/kafka/Client.h"

#include "support/kafka/ModuleLoader.h"
#include "support/kafka/Producer.h"
#include "support/kafka/RecordCounts.h"
#include "support/kafka/TopicLosses.h"
#include "support/synch/ForkSafeLocks.h"

#include <atomic>

namespace KafkaClient
{
    namespace
    {
        class BuiltInClient final : public Client, public Producer::StatusObserver, private QzSynch::ForkHold::Client
        {
        public:
            KafkaProducer::EnumKafkaProducerStatus GetStatus() override
            {
                return mStatus.load(std::memory_order_relaxed);
            }

            bool Send(QzBase::WideString const& topic, std::string const* key, std::string_view value) override
            {
                {
                    QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                    if (!mpProducer || !mpProducer->IsOfThisProcess())
                        return false;
                    if (Producer::Topic* const known = mpProducer->FindTopic(topic))
                        return mpProducer->Send(*known, key, value);
                }
                // The first record of its topic. Its losses have a lock of their own, which is not taken under this
                // one.
                TopicLosses& losses = GetTopicLosses(topic);
                QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
                if (!mpProducer || !mpProducer->IsOfThisProcess())
                    return false;
                Producer::Topic* const made = mpProducer->MakeTopic(topic, losses);
                return made && mpProducer->Send(*made, key, value);
            }

            bool SendTo(TopicLosses const& topic, std::string_view value) override
            {
                {
                    QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                    if (!mpProducer || !mpProducer->IsOfThisProcess())
                        return false;
                    if (Producer::Topic* const known = mpProducer->FindTopic(topic))
                        return mpProducer->Send(*known, nullptr, value);
                }
                return Send(topic.GetTopic(), nullptr, value);
            }

            void Configure(Properties const& properties) override
            {
                std::unique_ptr<Producer> producer;
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                if (!properties.empty())
                    producer = CheckOrConnect(properties);
                mProperties = properties;
                Exchange(producer);
            }

            KafkaProducer::Counters GetCounters() override
            {
                QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                // In this order, so that no record is seen delivered that was not accepted.
                std::uint64_t const delivered = gRecordCounts.mDelivered.load(std::memory_order_acquire);
                std::uint64_t const failed = gRecordCounts.mFailed.load(std::memory_order_acquire);
                std::uint64_t const earlier = gRecordCounts.mAccepted.load(std::memory_order_relaxed);
                return {earlier + (mpProducer ? mpProducer->GetAccepted() : 0), delivered, failed};
            }

            void Start() override
            {
                std::unique_ptr<Producer> producer;
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                if (mInitializerCount == 0 && !mProperties.empty())
                {
                    producer = std::make_unique<Producer>(GetModule(), mProperties, *this);
                    Exchange(producer);
                }
                ++mInitializerCount;
            }

            void Stop() override
            {
                std::unique_ptr<Producer> producer;
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                if (--mInitializerCount == 0)
                    Exchange(producer);
            }

        private:
            /// A producer if somebody keeps it running. Throws QzBase::Message if the properties are refused.
            std::unique_ptr<Producer> CheckOrConnect(Properties const& properties)
            {
                KafkaModule const& module = GetModule();
                if (mInitializerCount != 0)
                    return std::make_unique<Producer>(module, properties, *this);
                if (std::string const refusal = module.Check(properties); !refusal.empty())
                    ThrowConfigurationError(refusal);
                return nullptr;
            }

            void GoOnInForkedChild() noexcept override
            {
                mStatus = KafkaProducer::kStatusUnusable;
                Producer::GoOnInForkedChild();
            }

            void StatusHasChanged(Producer const& producer) noexcept override
            {
                QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                if (&producer == mpProducer.get())
                    mStatus = producer.GetStatus();
            }

            /// Senders go on with the new producer. The caller gets the old one, and destroys it without any lock: that
            /// takes seconds, and a fork must not wait for it.
            void Exchange(std::unique_ptr<Producer>& producer)
            {
                QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
                if (mpProducer)
                    gRecordCounts.mAccepted.fetch_add(mpProducer->GetAccepted(), std::memory_order_relaxed);
                mpProducer.swap(producer);
                mStatus = mpProducer ? mpProducer->GetStatus() : KafkaProducer::kStatusUnusable;
            }

            // One start, stop or configuration at a time, but for the end of the earlier producer; taken before mpLock.
            // librdkafka has locks of the process, which a new producer takes: this one keeps forks away from them.
            QzSynch::CriticalSectionPtr const mpConfigurationLock{
                QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryStatic, QzSynch::ForkHold::kOutermost, this)};
            Properties mProperties;
            int mInitializerCount = 0;
            QzSynch::RWLockPtr const mpLock{QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryStatic)};
            std::unique_ptr<Producer> mpProducer;
            // That of the producer, for every record to read without the lock. Written under the lock.
            std::atomic<KafkaProducer::EnumKafkaProducerStatus> mStatus{KafkaProducer::kStatusUnusable};
        };
    }

    Client& GetBuiltInClient()
    {
        // Not destroyed: static objects of the host program may log until the process ends.
        static BuiltInClient& client = *new BuiltInClient;
        return client;
    }

    namespace
    {
        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] Client& gClient = GetBuiltInClient();
    }
}
