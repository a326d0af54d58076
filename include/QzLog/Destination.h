#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>

namespace QzLog
{
    class MessageBody;
    class MessageHeader;

    /// What messages are written to. Dispatchers call the two forms of WriteMessage on the thread that logs, on many
    /// threads at the same time and with no lock held. Their exceptions reach the caller of the log function. They must
    /// not log through a router: header and body belong to the thread, so the new message would overwrite the one in
    /// delivery.
    ///
    /// Destinations of your own derive from Destination_Impl.
    class QZLOG_API Destination : public virtual QzBase::ReferenceCounted
    {
    public:
        ~Destination() override;

        /// Writes a structured message, in this destination's language.
        virtual void WriteMessage(MessageHeader& header, MessageBody& body) = 0;

        /// Writes a finished text, UTF-8; null counts as empty.
        virtual void WriteMessage(char const* bodyText, MessageHeader& header) = 0;

        /// Replaces the set of IDs whose messages get a call stack after their text. The first call stack of a process
        /// reads its debug information, which takes some tenths of a second. May be called from any thread at any time;
        /// messages in delivery use the old or the new set. Throws std::bad_alloc and then changes nothing.
        /// \param ids    `count` IDs in any order; null is allowed when `count` is 0, which empties the set.
        virtual void SetCallstackMessageIDs(unsigned int const* ids, unsigned int count) = 0;

    protected:
        /// The language of structured messages; 0, the process language, at first. Set it before messages arrive.
        virtual unsigned short GetLanguageID() const = 0;
        virtual void SetLanguageID(unsigned short languageID) = 0;
    };
}
