#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>
#include <QzBase/ReturnString.h>
#include <QzResource/MessageFormatter.h>

namespace QzLog
{
    /// Gives the texts behind message IDs. Implemented by the library's user and given to a logger with
    /// Logger::SetMessageCatalog. Both operations are called from any thread that logs by ID, with no lock
    /// held and several at a time; what they throw reaches the caller of the log function.
    class QZLOG_API MessageCatalog : public virtual QzBase::ReferenceCounted
    {
    public:
        ~MessageCatalog() override;

        /// The finished UTF-8 text of a message.
        /// \param languageID      the process language.
        /// \param catalogContext  what the caller of the log function gave; the library does not look at it.
        virtual QzBase::ReturnString GetMessageString(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) = 0;

        /// The template of a message, which must stay valid and unchanged as long as the catalog is held.
        virtual QzResource::MessageTemplate const& GetMessageTemplate(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) = 0;
    };
}
