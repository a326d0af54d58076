#pragma once

#include "support/kafka/KafkaModule.h"

#include <string>

namespace KafkaClient
{
    /// The module, which the first call loads. Throws QzBase::Message if it cannot be loaded; the next call tries
    /// again. One thread at a time.
    KafkaModule const& GetModule();

    /// Throws a QzBase::Message with that reason (UTF-8).
    [[noreturn]] void ThrowConfigurationError(std::string const& reason);
}
