#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

namespace QzLog
{
    /// The content of a structured message. It formats the text once for each language that a destination asks for.
    /// Each thread has one and reuses it for every message; if a message took more than 64 KB, its memory is freed
    /// after the delivery. Used by one thread at a time. Operations throw std::bad_alloc.
    class QZLOG_API MessageBody : public virtual QzBase::ReferenceCounted
    {
    public:
        ~MessageBody() override;

        /// Takes a copy of `message` and drops the texts of the previous one.
        virtual void SetMessage(QzBase::Message const& message) = 0;

        /// The message, with the localised texts that GetMessageText has looked up stored at each of its levels.
        /// Valid until the next SetMessage.
        virtual QzBase::Message& GetMessage() = 0;

        /// The text in a language (0: the process language), UTF-8, as QzBase::FormatMessage gives it. Texts that the
        /// message itself does not hold are looked up in the registered message texts. Formatted on the first call for
        /// that language; if that throws, later calls give the empty text. Valid until the next SetMessage.
        virtual char const* GetMessageText(unsigned short languageID) = 0;
    };

    /// A new body with an empty message.
    QZLOG_API QzBase::ReturnPtrI<MessageBody> CreateMessageBody();
}
