#pragma once

#include "support/kafka/KafkaModule.h"
#include "support/kafka/TopicLosses.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/WideString.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace KafkaClient
{
    /// One running producer. No thread is cancelled inside librdkafka, where it would leave locks held for ever. Any
    /// thread may call all operations at any time, but MakeTopic must not overlap any of them.
    class Producer final : private ConnectionOwner
    {
    public:
        class Topic;

        class StatusObserver
        {
        public:
            /// Called by the event thread, also before the producer's constructor has returned.
            virtual void StatusHasChanged(Producer const& producer) noexcept = 0;

        protected:
            ~StatusObserver() = default;
        };

        /// Throws QzBase::Message when librdkafka refuses the properties. The observer outlives the producer.
        Producer(KafkaModule const& module, Properties const& properties, StatusObserver& observer);
        Producer(Producer const&) = delete;
        Producer& operator=(Producer const&) = delete;

        /// Delivers what was accepted, in bounded time, and gives up the rest. Then waits for librdkafka's threads; one
        /// that waits for the resolver ends only when the resolver has answered.
        ~Producer();

        /// For the child of a fork.
        static void GoOnInForkedChild() noexcept;

        /// False in a forked child: the producer is the parent's, and unusable there.
        bool IsOfThisProcess() const noexcept;

        /// Not for a forked child, where it stays what it was.
        KafkaProducer::EnumKafkaProducerStatus GetStatus() const noexcept { return mStatus; }

        /// Null for a topic that MakeTopic has not made.
        Topic* FindTopic(QzBase::WideString const& name) const;

        /// The same, without comparing names.
        Topic* FindTopic(TopicLosses const& losses) const noexcept
        {
            return losses.GetNumber() < mTopicsByNumber.size() ? mTopicsByNumber[losses.GetNumber()] : nullptr;
        }

        /// Null when librdkafka refuses the name (UTF-16).
        /// \param losses  those of the topic.
        Topic* MakeTopic(QzBase::WideString const& name, TopicLosses& losses);

        /// Whether the record was accepted. Never waits for the network.
        bool Send(Topic& topic, std::string const* key, std::string_view value);

        /// How many records it has accepted; 0 in a forked child.
        std::uint64_t GetAccepted() const noexcept;

    private:
        /// Seldom has to compare texts, which begin alike.
        struct ShorterFirst
        {
            bool operator()(QzBase::WideString const& a, QzBase::WideString const& b) const noexcept
            {
                return a.size() != b.size() ? a.size() < b.size()
                                            : std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) < 0;
            }
        };

        void TakeDelivery(void* tag) noexcept override;
        void ExpectFailure(void* tag) noexcept override;
        void TakeFailure(void* tag, char const* reason) noexcept override;
        void EndReports() noexcept override;
        void SetConnected(bool isConnected) noexcept override;
        void TakeLogLine(char const* facility, char const* text) noexcept override;
        int OpenSocket(int domain, int type, int protocol) noexcept override;

        StatusObserver& mObserver;
        std::atomic<KafkaProducer::EnumKafkaProducerStatus> mStatus{KafkaProducer::kStatusDown};
        std::uint32_t const mForkGeneration;
        std::unique_ptr<Connection> mpConnection;
        std::map<QzBase::WideString, std::unique_ptr<Topic>, ShorterFirst> mTopics;
        // By the numbers of their losses; null where this producer has no topic.
        std::vector<Topic*> mTopicsByNumber;
    };
}
