#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/WideString.h>
#include <QzLog/Destination_Impl.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <string>

namespace ReportingServer
{
    /// Wraps a destination of the library: gives it a language, and counts the messages in the
    /// message trace under the name that the configuration file uses. One log may thus be written in one
    /// language and the terminal in two.
    class NamedDestination : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        /// \param languageID  0 for the process language.
        NamedDestination(
            std::string const& name, unsigned short languageID, QzBase::CountedPtr<QzLog::Destination> target);

        void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override;
        void WriteMessage(char const* bodyText, QzLog::MessageHeader& header) override;

    private:
        QzBase::WideString mName;
        QzBase::CountedPtr<QzLog::Destination> const mpTarget;
    };
}
