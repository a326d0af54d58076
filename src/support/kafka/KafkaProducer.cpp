#include <KafkaClient/KafkaProducer.h>

#include "support/kafka/Client.h"

#include <atomic>

namespace KafkaClient
{
    namespace
    {
        constinit std::atomic<Client*> gReplacement{nullptr};
    }

    Client& GetClient()
    {
        Client* const replacement = gReplacement.load(std::memory_order_acquire);
        return replacement ? *replacement : GetBuiltInClient();
    }

    void ReplaceClient(Client* client)
    {
        gReplacement.store(client, std::memory_order_release);
    }

    Initializer::Initializer()
    {
        GetClient().Start();
    }

    Initializer::Initializer(Initializer const&) : Initializer() {}

    Initializer::~Initializer()
    {
        GetClient().Stop();
    }

    KafkaProducer::EnumKafkaProducerStatus KafkaProducer::GetKafkaProducerStatus()
    {
        return GetClient().GetStatus();
    }

    bool KafkaProducer::Send(
        QzBase::WideString const& topic, int /*options*/, std::string const* key, QzDataType::Variant const& value)
    {
        return GetClient().Send(topic, key, value.GetUTF8Text());
    }

    void KafkaProducer::Configure(std::map<std::string, std::string> const& properties)
    {
        GetClient().Configure(properties);
    }

    KafkaProducer::Counters KafkaProducer::GetCounters()
    {
        return GetClient().GetCounters();
    }
}
