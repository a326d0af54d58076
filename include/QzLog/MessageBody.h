#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

namespace QzLog
{
    /// The content of a structured message: gives its text in each language that a destination asks for, and formats
    /// it once per language. Each thread has one, which it uses again for each message. After the delivery of a message
    /// that took more than 64 KB its memory is freed. Used by one thread at a time. Operations throw std::bad_alloc.
    class QZLOG_API MessageBody : public virtual QzBase::ReferenceCounted
    {
    public:
        ~MessageBody() override;

        /// Takes a copy of `message` and forgets the texts of the one before.
        virtual void SetMessage(QzBase::Message const& message) = 0;

        /// The message, with the localised texts that GetMessageText has looked up stored at each of its levels.
        /// Valid until the next SetMessage.
        virtual QzBase::Message& GetMessage() = 0;

        /// The text in a language (0: the process language), UTF-8, as QzBase::FormatMessage gives it; what the
        /// message itself does not hold is looked up in the registered message texts. Formatted on the first call for
        /// that language; when that throws, later calls give the empty text. Valid until the next SetMessage.
        virtual char const* GetMessageText(unsigned short languageID) = 0;
    };

    /// A new body with an empty message.
    QZLOG_API QzBase::ReturnPtrI<MessageBody> CreateMessageBody();
}
