#pragma once

#include "message/CallFrame.h"

#include <QzLog/Destination_Impl.h>
#include <QzLog/MessageBody.h>
#include <QzSynch/ReferenceCountedImpl.h>

namespace QzLog
{
    /// The base of the library's own destinations, with the form of WriteMessage that is the same in all of
    /// them. `Interface` derives virtually from Destination; an object has one Destination and one reference count.
    template <class Interface>
    class ConcreteDestination : public QzSynch::Counted<Interface>, public Destination_Impl
    {
    public:
        using Destination::WriteMessage;

        QZLOG_CALL_FRAME void WriteMessage(MessageHeader& header, MessageBody& body) override
        {
            this->WriteMessage(body.GetMessageText(this->GetLanguageID()), header);
        }
    };
}
