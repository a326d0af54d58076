#pragma once

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/WideString.h>

#include <librdkafka/rdkafka.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace KafkaClient
{
    using Properties = std::map<std::string, std::string>;

    struct ConfDelete
    {
        void operator()(rd_kafka_conf_t* conf) const { rd_kafka_conf_destroy(conf); }
    };

    using Conf = std::unique_ptr<rd_kafka_conf_t, ConfDelete>;

    /// librdkafka's own configuration object with all properties set. Starts nothing. Throws QzBase::Message for a
    /// property that librdkafka does not know, and for a value that is none of that property.
    Conf MakeConf(Properties const& properties);

    /// One running producer. No thread is cancelled inside librdkafka, where it would leave locks held for ever. Any
    /// thread may call all operations at any time, but MakeTopic must not overlap any of them.
    class Producer
    {
    public:
        class Topic;

        /// Throws QzBase::Message when librdkafka refuses the properties.
        explicit Producer(Properties const& properties);
        Producer(Producer const&) = delete;
        Producer& operator=(Producer const&) = delete;

        /// Delivers what was accepted, in bounded time, and gives up the rest. Then waits for librdkafka's threads; one
        /// that waits for the resolver ends only when the resolver has answered.
        ~Producer();

        /// For the child of a fork.
        static void GoOnInForkedChild() noexcept;

        /// False in a forked child: the producer is the parent's, and unusable there.
        bool IsOfThisProcess() const noexcept;

        KafkaProducer::EnumKafkaProducerStatus GetStatus() const noexcept;

        /// Null for a topic that MakeTopic has not made.
        Topic* FindTopic(QzBase::WideString const& name) const;

        /// Null when librdkafka refuses the name (UTF-16).
        Topic* MakeTopic(QzBase::WideString const& name);

        /// Whether the record was accepted. Never waits for the network.
        bool Send(Topic& topic, std::string const* key, std::string_view value);

    private:
        using Status = std::atomic<KafkaProducer::EnumKafkaProducerStatus>;

        static void TakeEvent(rd_kafka_t* handle, rd_kafka_event_t* event, void* opaque);
        static void TakeDeliveryReports(rd_kafka_event_t* event);
        void ServeEventsInBackground();

        Status mStatus{KafkaProducer::kStatusDown};
        std::uint32_t const mForkGeneration;
        rd_kafka_t* mpHandle = nullptr;
        std::map<QzBase::WideString, std::unique_ptr<Topic>> mTopics;
    };
}
