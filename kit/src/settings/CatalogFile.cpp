#include "settings/CatalogFile.h"

#include "settings/JsonFile.h"
#include "settings/Section.h"

#include <QzResource/Localizer.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <limits>
#include <optional>
#include <utility>

namespace QzLogKit
{
    namespace
    {
        constexpr unsigned short kEnglish = 0x0409;

        /// What a language ID has without its country.
        constexpr unsigned short kPrimaryLanguage = 0x03FF;

        using Templates = std::map<unsigned short, QzResource::MessageTemplate>;

        class FileCatalog final : public QzSynch::Counted<QzLog::MessageCatalog>
        {
        public:
            // A log call must not fail over a missing text: the values still say something.
            explicit FileCatalog(CatalogTexts const& texts) : mUnknown("(no text in the catalog) %1 %2 %3 %4")
            {
                for (auto const& [id, translations] : texts.mTexts)
                    for (auto const& [language, text] : translations)
                        mTemplates[id].emplace(language, text.c_str());
            }

            QzBase::ReturnString GetMessageString(
                unsigned int messageID, unsigned short languageID, char const* catalogContext) override
            {
                return GetMessageTemplate(messageID, languageID, catalogContext).GetText().c_str();
            }

            QzResource::MessageTemplate const& GetMessageTemplate(
                unsigned int messageID, unsigned short languageID, char const*) override
            {
                auto const found = mTemplates.find(messageID);
                return found == mTemplates.end() ? mUnknown : Choose(found->second, languageID);
            }

        private:
            static QzResource::MessageTemplate const& Choose(Templates const& templates, unsigned short languageID)
            {
                auto const exact = templates.find(languageID);
                if (exact != templates.end())
                    return exact->second;
                for (auto const& [language, text] : templates)
                    if ((language & kPrimaryLanguage) == (languageID & kPrimaryLanguage))
                        return text;
                auto const english = templates.find(kEnglish);
                return english != templates.end() ? english->second : templates.begin()->second;
            }

            std::map<unsigned int, Templates> mTemplates;
            QzResource::MessageTemplate mUnknown;
        };

        std::map<unsigned short, std::string> ReadTranslations(Section section, Section& parent, std::string const& id)
        {
            std::map<unsigned short, std::string> translations;
            for (std::string const& name : section.GetNames())
            {
                std::string text = section.ReadText(name, "a text in that language");
                if (std::optional<unsigned short> const language = ToLanguage(Json::Value(name)))
                    translations.emplace(*language, std::move(text));
                else
                    section.Reject(section.Take(name), name, std::string("as the key ") + kLanguageExpected, "");
            }
            if (section.IsObject() && section.GetNames().empty())
                parent.Reject(parent.Take(id), id, "a text in at least one language");
            return translations;
        }
    }

    CatalogTexts ParseCatalog(std::string const& name, std::string text, Faults& faults)
    {
        CatalogTexts texts;
        Faults own;
        JsonFile const file(name, std::move(text), own);
        if (!own.IsEmpty())
        {
            own.MoveTo(faults);
            return texts;
        }
        Section top(file, file.GetRoot(), "", faults);
        top.Take("domain");
        if (top.Has("domain"))
            texts.mDomain =
                static_cast<unsigned short>(top.ReadNumber("domain", 0, std::numeric_limits<unsigned short>::max(), 0));
        Section messages = top.ReadSection("messages");
        for (std::string const& key : messages.GetNames())
        {
            std::optional<unsigned int> const id = ToNumber(Json::Value(key));
            std::map<unsigned short, std::string> translations =
                ReadTranslations(messages.ReadSection(key), messages, key);
            if (!id)
                messages.Reject(messages.Take(key), key, "as the key a message ID such as \"0x80000304\"", "");
            else if (!texts.mTexts.emplace(*id, std::move(translations)).second)
                messages.Reject(messages.Take(key), key, "each message once", "the same ID, written in another way");
        }
        top.RejectRest();
        return texts;
    }

    QzBase::ReturnPtrI<QzLog::MessageCatalog> CreateCatalog(CatalogTexts const& texts)
    {
        return QzBase::ReturnPtrI<QzLog::MessageCatalog>(new FileCatalog(texts));
    }

    bool IsOwnCatalog(QzLog::MessageCatalog* catalog)
    {
        return dynamic_cast<FileCatalog*>(catalog) != nullptr;
    }

    void RegisterTexts(CatalogTexts const& texts)
    {
        if (!texts.mDomain)
            return;
        for (auto const& [id, translations] : texts.mTexts)
            for (auto const& [language, text] : translations)
                QzResource::RegisterMessageText(language, *texts.mDomain, static_cast<int>(id), text.c_str());
    }
}
