#include "support/kafka/ModuleLoader.h"

#include "os/Cancellation.h"
#include "os/OwnModules.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

namespace KafkaClient
{
    KafkaModule const& GetModule()
    {
        static constinit KafkaModule const* gpModule = nullptr;
        if (gpModule)
            return *gpModule;
        QzOs::NoCancellation const noCancellation;
        std::string reasons;
        void* const entry = QzOs::FindInOwnModule(QZLOG_KAFKA_MODULE, kModuleEntry, reasons);
        if (!entry)
            ThrowConfigurationError("the Kafka module cannot be loaded: " + reasons);
        gpModule = reinterpret_cast<decltype(&GetQzLogKafkaModule2)>(entry)();
        return *gpModule;
    }

    void ThrowConfigurationError(std::string const& reason)
    {
        QzBase::Message message;
        message.SetDomainAndID(QzBase::MESSAGE_DOMAIN_SERVER, -1);
        std::string const text = "KafkaClient::KafkaProducer::Configure: " + reason;
        message.SetMessage(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        throw QzBase::ExceptionImpl<QzBase::Message>(std::move(message));
    }
}
