#pragma once

#include "destination/ConcreteDestination.h"

#include <QzLog/Destination_DebugOutput.h>

#include <string>

namespace QzLog
{
    class Destination_DebugOutput_Impl final : public ConcreteDestination<Destination_DebugOutput>
    {
    public:
        using ConcreteDestination::WriteMessage;

        void WriteMessage(char const* bodyText, MessageHeader& header) override;
        void WriteString(char const* text) override;

        /// Writes one line to the debug output, also without a module. UTF-8, without its end.
        static void WriteLine(std::string line);
    };
}
