#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>
#include <QzBase/ReturnString.h>
#include <QzResource/MessageFormatter.h>

namespace QzLog
{
    /// Gives the texts of message IDs. Implemented by the library's user and installed with
    /// Logger::SetMessageCatalog. Both operations are called on the threads that log by ID, on several at the
    /// same time and with no lock held. Their exceptions reach the caller of the log function.
    class QZLOG_API MessageCatalog : public virtual QzBase::ReferenceCounted
    {
    public:
        ~MessageCatalog() override;

        /// The finished UTF-8 text of a message.
        /// \param languageID      the process language.
        /// \param catalogContext  passed on from the caller of the log function; the library does not read it.
        virtual QzBase::ReturnString GetMessageString(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) = 0;

        /// The template of a message. It must stay valid and unchanged as long as the catalog is held.
        virtual QzResource::MessageTemplate const& GetMessageTemplate(
            unsigned int messageID, unsigned short languageID, char const* catalogContext) = 0;
    };
}
