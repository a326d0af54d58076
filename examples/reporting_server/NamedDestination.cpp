#include "NamedDestination.h"

#include "Commands.h"

#include <QzBase/Conversions.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/MsgLogTrace.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

namespace ReportingServer
{
    namespace
    {
        /// The three counters of the trace stand for the three dispatchers.
        QzLog::MsgOpType GetCounter(std::string_view dispatcherName)
        {
            if (dispatcherName == "Trace")
                return QzLog::MsgOpFirst;
            return dispatcherName == "Info" ? QzLog::MsgOpSecond : QzLog::MsgOpThird;
        }
    }

    NamedDestination::NamedDestination(std::string const& name, QzBase::CountedPtr<QzLog::Destination> target)
        : mName(QzBase::UTF8ToWideChar(name.c_str(), true).c_str()), mpTarget(std::move(target))
    {
    }

    void NamedDestination::WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body)
    {
        WriteMessage(body.GetMessageText(GetLanguageID()), header);
    }

    void NamedDestination::WriteMessage(char const* bodyText, QzLog::MessageHeader& header)
    {
        mpTarget->WriteMessage(bodyText, header);

        // The value of the trace is the length of the text in bytes, so it shows the mean length. The thread is the
        // one writer of its bucket.
        std::size_t const length = bodyText ? std::strlen(bodyText) : 0;
        std::size_t const largest = std::numeric_limits<int>::max();
        QzLog::MsgLogTrace::SendToLogTrace(header.GetThreadID(), GetCommandOfThread(), mName,
            static_cast<int>(std::min(length, largest)), GetCounter(header.GetDispatcherName()));
    }
}
