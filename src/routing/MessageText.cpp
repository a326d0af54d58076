#include "routing/MessageText.h"

#include <QzResource/Localizer.h>

#include <cstdio>
#include <string>

namespace QzLog
{
    namespace
    {
        std::string NameOfID(unsigned int messageID)
        {
            char name[sizeof "Message 0xFFFFFFFF"];
            std::snprintf(name, sizeof name, "Message 0x%08X", messageID);
            return name;
        }
    }

    char const* FormatMessageText(MessageCatalog* catalog, unsigned int messageID,
        QzResource::MessageFormatter& formatter, char const* catalogContext)
    {
        if (catalog)
        {
            return formatter.Format(
                catalog->GetMessageTemplate(messageID, QzResource::GetProcessLanguageID(), catalogContext));
        }
        std::string text = NameOfID(messageID);
        for (std::size_t number = 1; number <= formatter.GetValueCount(); ++number)
            text += " %" + std::to_string(number);
        return formatter.Format(QzResource::GetMessageTemplate(text.c_str()));
    }

    QzBase::ReturnString GetMessageText(MessageCatalog* catalog, unsigned int messageID, char const* catalogContext)
    {
        if (catalog)
            return catalog->GetMessageString(messageID, QzResource::GetProcessLanguageID(), catalogContext);
        return QzBase::ReturnString(NameOfID(messageID));
    }
}
