// Replaces the Kafka client in a library that was built without librdkafka. It is always unusable, so that
// every record goes to the disk file of its destination.

#include "support/kafka/Client.h"

#include <QzBase/Message.h>

namespace KafkaClient
{
    namespace
    {
        class NoClient final : public Client
        {
        public:
            KafkaProducer::EnumKafkaProducerStatus GetStatus() override { return KafkaProducer::kStatusUnusable; }
            bool Send(QzBase::WideString const&, std::string const*, std::string_view) override { return false; }

            void Configure(std::map<std::string, std::string> const& properties) override
            {
                if (!properties.empty())
                    throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(QzBase::MESSAGE_DOMAIN_SERVER, -1,
                        "KafkaClient::KafkaProducer::Configure: this library was built without a Kafka client."));
            }

            KafkaProducer::Counters GetCounters() override { return {}; }
            void Start() override {}
            void Stop() override {}
        };

        constinit NoClient gClient;
    }

    Client& GetBuiltInClient()
    {
        return gClient;
    }
}
