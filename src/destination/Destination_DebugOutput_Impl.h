#pragma once

#include "destination/ConcreteDestination.h"

#include <QzLog/Destination_DebugOutput.h>

namespace QzLog
{
    class Destination_DebugOutput_Impl final : public ConcreteDestination<Destination_DebugOutput>
    {
    public:
        using ConcreteDestination::WriteMessage;

        void WriteMessage(char const* bodyText, MessageHeader& header) override;
        void WriteString(char const* text) override;
    };
}
