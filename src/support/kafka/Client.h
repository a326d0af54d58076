#pragma once

#include "support/kafka/TopicLosses.h"

#include <KafkaClient/KafkaProducer.h>

#include <string_view>

// The implementations of KafkaClient::KafkaProducer. One uses librdkafka, one replaces it in a library that
// was built without; tests install a scripted one.

namespace KafkaClient
{
    class Client
    {
    public:
        virtual KafkaProducer::EnumKafkaProducerStatus GetStatus() = 0;
        virtual bool Send(QzBase::WideString const& topic, std::string const* key, std::string_view value) = 0;

        /// The same without a key, to a topic that the caller has looked up once.
        virtual bool SendTo(TopicLosses const& topic, std::string_view value)
        {
            return Send(topic.GetTopic(), nullptr, value);
        }

        virtual void Configure(std::map<std::string, std::string> const& properties) = 0;
        virtual KafkaProducer::Counters GetCounters() = 0;

        /// Called by the constructor of an Initializer, which throws what this throws.
        virtual void Start() = 0;

        /// Called by the destructor of an Initializer.
        virtual void Stop() = 0;

    protected:
        ~Client() = default;
    };

    /// The client that this library was built with. Never destroyed: records may come until the process ends.
    Client& GetBuiltInClient();

    /// The present client.
    Client& GetClient();

    /// Puts `client` in place of the present one, null the built-in one. For tests, while nobody sends.
    void ReplaceClient(Client* client);
}
