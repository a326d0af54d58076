#pragma once

#include "destination/ConcreteDestination.h"

#include <QzLog/Destination_SystemLog.h>
#include <QzSynch/Locks.h>

#include <memory>
#include <string>

namespace QzLog
{
    class Destination_SystemLog_Impl final : public ConcreteDestination<Destination_SystemLog>
    {
    public:
        using ConcreteDestination::WriteMessage;

        Destination_SystemLog_Impl();

        void WriteMessage(char const* bodyText, MessageHeader& header) override;
        void SetEventSource(char const* sourceName) override;
        void ReportEvent(char const* text, unsigned int severity, unsigned short eventID) override;

    private:
        /// A registered event source, which may be null. Whoever reports holds it, so that a change of the name
        /// deregisters it when the last event under the old name is out.
        using EventSource = std::shared_ptr<void>;

        EventSource GetEventSource();

        // Guards the members behind it. Taken again by the thread that holds it; not held while an event is
        // reported.
        QzSynch::CriticalSectionPtr const mpLock;
        std::string mSourceName;
        bool mSourceIsRegistered = false;
        EventSource mpEventSource;
    };
}
