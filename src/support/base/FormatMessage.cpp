#include <QzBase/Message.h>

#include "support/base/ProcessLanguage.h"
#include "support/base/TemplateText.h"

#include <QzBase/Conversions.h>

#include <string>

namespace QzBase
{
    /// What may look into a message in order to write it.
    class MessageWriter
    {
    public:
        /// Appends the texts of `message` and of its causes, one line each.
        static void Append(std::string& out, Message const& message, unsigned short languageID)
        {
            char const* localized = message.GetLocalizedText(languageID);
            if (!localized && languageID == 0)
                localized = message.GetLocalizedText(GetProcessLanguage());
            if (localized)
                AppendExpanded(out, localized, message);
            else
                out += WideCharToUTF8(message.mText.c_str(), true).c_str();
            for (Message const& cause : message.mLowerLevels)
            {
                out += '\n';
                Append(out, cause, languageID);
            }
        }

        /// Stores a text for the language at each level that has none, where the localizer knows one.
        static void Localize(Message& message, unsigned short languageID, Message::Localizer& localizer)
        {
            if (!message.GetLocalizedText(languageID))
            {
                char const* const text = localizer.FindText(languageID, message.mDomain, message.mID);
                if (text)
                    message.SetLocalizedText(languageID, text);
            }
            for (Message& cause : message.mLowerLevels)
                Localize(cause, languageID, localizer);
        }

    private:
        static void AppendExpanded(std::string& out, std::string const& text, Message const& message)
        {
            ExpandTemplate(
                text.c_str(), text.size(), [&out](char const* first, char const* last) { out.append(first, last); },
                [&out, &message](std::size_t index)
                {
                    if (index >= message.mArguments.size())
                        return false;
                    out += WideCharToUTF8(message.mArguments[index].c_str(), true).c_str();
                    return true;
                });
        }
    };

    ReturnString FormatMessage(Message const& message, unsigned short languageID)
    {
        std::string text;
        MessageWriter::Append(text, message, languageID);
        return ReturnString(std::move(text));
    }

    ReturnString FormatMessage(
        Message const& message, Message& localizedCopy, unsigned short languageID, Message::Localizer& localizer)
    {
        localizedCopy = message;
        MessageWriter::Localize(localizedCopy, languageID, localizer);
        return FormatMessage(localizedCopy, languageID);
    }
}
