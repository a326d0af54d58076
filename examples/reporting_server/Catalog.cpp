#include "Catalog.h"

#include "Messages.h"

namespace ReportingServer
{
    // A log call must not fail over a missing text: the values still say something.
    Catalog::Catalog() : mUnknown("A message without a text: %1 %2 %3")
    {
        for (MessageText const& text : GetMessageTexts())
        {
            mTemplates.emplace(std::pair(text.mID, kEnglish), QzResource::MessageTemplate(text.mEnglish));
            mTemplates.emplace(std::pair(text.mID, kGerman), QzResource::MessageTemplate(text.mGerman));
        }
    }

    QzBase::ReturnString Catalog::GetMessageString(
        unsigned int messageID, unsigned short languageID, char const* catalogContext)
    {
        return GetMessageTemplate(messageID, languageID, catalogContext).GetText().c_str();
    }

    QzResource::MessageTemplate const& Catalog::GetMessageTemplate(
        unsigned int messageID, unsigned short languageID, char const*)
    {
        unsigned short const language = languageID == kGerman ? kGerman : kEnglish;
        auto const found = mTemplates.find({messageID, language});
        return found == mTemplates.end() ? mUnknown : found->second;
    }
}
