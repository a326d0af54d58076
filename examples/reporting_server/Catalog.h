#pragma once

#include <QzLog/MessageCatalog.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <map>
#include <utility>

namespace ReportingServer
{
    /// Serves the log calls that name a message by its ID. The templates are made once and never change, so
    /// any number of threads may ask.
    class Catalog : public QzSynch::Counted<QzLog::MessageCatalog>
    {
    public:
        Catalog();

        QzBase::ReturnString GetMessageString(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) override;

        QzResource::MessageTemplate const& GetMessageTemplate(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) override;

    private:
        std::map<std::pair<unsigned int, unsigned short>, QzResource::MessageTemplate> mTemplates;
        QzResource::MessageTemplate mUnknown;
    };
}
