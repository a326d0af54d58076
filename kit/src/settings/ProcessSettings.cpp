#include "settings/ProcessSettings.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Module.h>
#include <QzLogKit/SettingsError.h>
#include <QzLogKit/Utf8.h>
#include <QzResource/Localizer.h>

#include <cstring>
#include <string_view>
#include <utility>

namespace QzLogKit
{
    using namespace QzBase::Literals;

    namespace
    {
        constexpr unsigned short kDefaultLanguage = 0x0409;

        /// What is to be set, if anything.
        template <class Value>
        std::optional<Value> Choose(
            std::optional<Value> Settings::*member, Settings const& now, Settings const* before, Value standard)
        {
            if (now.*member)
                return now.*member;
            return before && before->*member ? std::optional(standard) : std::nullopt;
        }

        [[noreturn]] void Reject(Settings const& settings, SettingsFault fault)
        {
            throw QzBase::ExceptionImpl<SettingsError>(settings.mFile, std::vector{std::move(fault)});
        }

        /// Where the name of a property stands in a text, not as a part of another name.
        std::size_t FindName(std::string const& text, std::string const& name)
        {
            constexpr char const* kOfNames = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.";
            for (std::size_t at = text.find(name); at != text.npos; at = text.find(name, at + 1))
            {
                std::size_t const end = at + name.size();
                if ((at == 0 || !std::strchr(kOfNames, text[at - 1])) &&
                    (end == text.size() || !std::strchr(kOfNames, text[end])))
                    return at;
            }
            return text.npos;
        }

        /// The client's own words, at the line of the property that they name first.
        [[noreturn]] void RejectClient(Settings const& settings, QzBase::Message const& refusal)
        {
            std::string text = QzBase::FormatMessage(refusal, kDefaultLanguage).c_str();
            constexpr std::string_view kOperation = "KafkaClient::KafkaProducer::Configure: ";
            if (text.starts_with(kOperation))
                text.erase(0, kOperation.size());
            SettingsFault fault{settings.mFile, settings.mClientLine, "kafka.client", "what the Kafka client takes",
                "its refusal: " + text};
            std::size_t first = text.npos;
            for (auto const& [name, line] : settings.mClientLines)
                if (std::size_t const at = FindName(text, name); at < first)
                {
                    first = at;
                    fault.mLine = line;
                    fault.mKey = "kafka.client." + name;
                }
            Reject(settings, std::move(fault));
        }

        [[noreturn]] void RejectTopic(Settings const& settings, std::string const& present)
        {
            KafkaSettings const& kafka = *settings.mKafka;
            Reject(settings, {settings.mFile, kafka.mTopicLine, "kafka.topic",
                                 '"' + present + "\", the name that the topic has until this process is started again",
                                 '"' + kafka.mTopic + '"'});
        }

        void ApplyKafka(Settings const& now, Settings const* before)
        {
            bool const wasSet = before && before->mKafka;
            if (!now.mKafka && !wasSet)
                return;
            // A name cannot be taken back: first look, then change what can be changed.
            std::string const topic = now.mKafka ? now.mKafka->mTopic : std::string();
            std::string const present = GetKafkaTopic();
            if (!topic.empty() && !present.empty() && topic != present)
                RejectTopic(now, present);
            using Client = std::map<std::string, std::string>;
            Client const client = now.mKafka ? now.mKafka->mClient : Client();
            // Brokers that stay the same are not connected anew.
            if (client != (wasSet ? before->mKafka->mClient : Client()))
            {
                try
                {
                    KafkaClient::KafkaProducer::Configure(client);
                }
                catch (QzBase::Message const& refusal)
                {
                    RejectClient(now, refusal);
                }
            }
            if (!topic.empty() && !SetKafkaTopic(topic))
                RejectTopic(now, GetKafkaTopic());
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, now.mKafka && now.mKafka->mIsEnabled);
        }
    }

    void ApplyToProcess(Settings const& now, Settings const* before)
    {
        ApplyKafka(now, before);
        if (auto const language = Choose(&Settings::mLanguageID, now, before, kDefaultLanguage))
            QzResource::SetProcessLanguageID(*language);
        if (auto const name = Choose(&Settings::mServerName, now, before, std::string()))
            QzLog::SetServerInstanceName(QzBase::UTF8ToWideChar(name->c_str(), true).c_str());
        // Before any file is asked for: relative paths are joined to it, and files that are there move.
        if (auto const path = Choose(&Settings::mBasePath, now, before, std::string()))
            QzLog::SetBasePath(QzBase::UTF8ToWideChar(path->c_str(), false).c_str());
    }

    void PublishSettings(Settings const& settings)
    {
        if (settings.mKafka && settings.mKafka->mPublishesSettings)
            QzLog::UpdateLogRegistryStr(QzBase::UTF8ToWideChar(settings.mPublicText.c_str(), true).c_str());
    }
}
