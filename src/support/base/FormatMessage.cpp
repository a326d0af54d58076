#include <QzBase/Message.h>

#include "os/Unicode.h"
#include "support/base/MessageMemory.h"
#include "support/base/MessageText.h"
#include "support/base/ProcessLanguage.h"
#include "support/base/TemplateText.h"

#include <string>
#include <string_view>

namespace QzBase
{
    /// Has access to the members of a message, to format it.
    class MessageWriter
    {
    public:
        /// Appends the texts of `message` and of its causes, one line each.
        static void Append(std::string& out, Message const& message, unsigned short languageID)
        {
            std::size_t const before = out.size();
            if (before != 0)
                out += "\r\n";
            std::size_t const start = out.size();
            AppendLevel(out, message, languageID);
            if (out.size() == start)
                out.resize(before);
            for (Message const& cause : message.mLowerLevels)
                Append(out, cause, languageID);
        }

        /// Stores a text for the language at each level that has none, where the localizer knows one.
        static void Localize(Message& message, unsigned short languageID, Message::Localizer& localizer)
        {
            if (!message.GetLocalizedText(languageID))
            {
                if (char const* const text = localizer.FindText(languageID, message.mDomain, message.mID))
                    message.SetLocalizedText(languageID, text);
            }
            for (Message& cause : message.mLowerLevels)
                Localize(cause, languageID, localizer);
        }

    private:
        static void AppendLevel(std::string& out, Message const& message, unsigned short languageID)
        {
            char const* const localized = message.GetLocalizedText(languageID);
            if (!localized)
            {
                AppendWideText(out, message.mText);
                return;
            }
            AppendExpanded(out, std::string_view(localized), message.mArguments.size(),
                [&message](std::string& text, std::size_t index) { AppendWideText(text, message.mArguments[index]); });
        }

        static void AppendWideText(std::string& out, WideString const& text)
        {
            QzOs::AppendUTF8(out, text.data(), text.size(), QzOs::Malformed::Replace);
        }
    };

    std::string MakeMessageText(Message const& message, unsigned short languageID)
    {
        std::string text;
        MessageWriter::Append(text, message, ResolveLanguage(languageID));
        return text;
    }

    std::string MakeMessageText(
        Message const& message, Message& localizedCopy, unsigned short languageID, Message::Localizer& localizer)
    {
        // Resolved once, so that a change of the process language meanwhile does not split the levels.
        unsigned short const language = ResolveLanguage(languageID);
        MessageMemory::Assign(localizedCopy, message);
        MessageWriter::Localize(localizedCopy, language, localizer);
        return MakeMessageText(localizedCopy, language);
    }

    ReturnString FormatMessage(Message const& message, unsigned short languageID)
    {
        return ReturnString(MakeMessageText(message, languageID));
    }

    ReturnString FormatMessage(
        Message const& message, Message& localizedCopy, unsigned short languageID, Message::Localizer& localizer)
    {
        // The two may be parts of each other.
        Message copy;
        ReturnString text(MakeMessageText(message, copy, languageID, localizer));
        localizedCopy = std::move(copy);
        return text;
    }
}
