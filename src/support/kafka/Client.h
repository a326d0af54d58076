#pragma once

#include <KafkaClient/KafkaProducer.h>

#include <string_view>

// What stands behind KafkaClient::KafkaProducer. One implementation talks to librdkafka, one stands in for
// it where the library was built without; tests put a scripted one in their place.

namespace KafkaClient
{
    class Client
    {
    public:
        virtual KafkaProducer::EnumKafkaProducerStatus GetStatus() = 0;
        virtual bool Send(QzBase::WideString const& topic, std::string const* key, std::string_view value) = 0;
        virtual void Configure(std::map<std::string, std::string> const& properties) = 0;
        virtual KafkaProducer::Counters GetCounters() = 0;

        /// An Initializer has come. If this throws there is none.
        virtual void Start() = 0;

        /// An Initializer has gone.
        virtual void Stop() = 0;

    protected:
        ~Client() = default;
    };

    /// The client that this library was built with. Never destroyed: records may come until the process ends.
    Client& GetBuiltInClient();

    /// The client in force.
    Client& GetClient();

    /// Puts `client` in place of the present one, null the built-in one. For tests, while nobody sends.
    void ReplaceClient(Client* client);
}
