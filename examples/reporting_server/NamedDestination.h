#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/WideString.h>
#include <QzLog/Destination_Impl.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <string>

namespace ReportingServer
{
    /// Wraps a destination of the library, and counts its messages in the message trace under the name that the
    /// settings file uses.
    class NamedDestination : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        NamedDestination(std::string const& name, QzBase::CountedPtr<QzLog::Destination> target);

        void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override;
        void WriteMessage(char const* bodyText, QzLog::MessageHeader& header) override;

    private:
        QzBase::WideString mName;
        QzBase::CountedPtr<QzLog::Destination> const mpTarget;
    };
}
