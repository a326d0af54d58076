#pragma once

#include <QzBase/ReturnString.h>
#include <QzLog/MessageCatalog.h>
#include <QzResource/MessageFormatter.h>

namespace QzLog
{
    // The texts behind message IDs, in the process language. `catalog` may be null: the text is then
    // "Message 0x%08X" with the ID.

    /// The text with the formatter's values; without a catalog they stand behind it, separated by blanks. Valid
    /// until the formatter is used again.
    char const* FormatMessageText(MessageCatalog* catalog, unsigned int messageID,
        QzResource::MessageFormatter& formatter, char const* catalogContext);

    /// The text as it stands.
    QzBase::ReturnString GetMessageText(MessageCatalog* catalog, unsigned int messageID, char const* catalogContext);
}
