#include "settings/ProcessSettings.h"

#include "settings/Faults.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Module.h>
#include <QzResource/Localizer.h>

#include <utility>

namespace QzLogKit
{
    using namespace QzBase::Literals;

    namespace
    {
        constexpr unsigned short kEnglish = 0x0409;

        /// What is to be set, if anything.
        template <class Value>
        std::optional<Value> Choose(
            std::optional<Value> Settings::*member, Settings const& now, Settings const* before, Value standard)
        {
            if (now.*member)
                return now.*member;
            return before && before->*member ? std::optional(standard) : std::nullopt;
        }

        /// The client's own words, at the line of the property that they name.
        [[noreturn]] void RejectClient(Settings const& settings, QzBase::Message const& refusal)
        {
            std::string const text = QzBase::FormatMessage(refusal, kEnglish).c_str();
            SettingsFault fault{settings.mFile, 0, "kafka.client", "properties that the Kafka client takes", text};
            for (auto const& [name, line] : settings.mClientLines)
                if (text.find('\'' + name + '\'') != text.npos)
                {
                    fault.mLine = line;
                    fault.mKey = "kafka.client." + name;
                }
            Faults faults;
            faults.Add(std::move(fault));
            faults.ThrowIfAny(settings.mFile);
            throw QzBase::ExceptionImpl<QzBase::Message>(refusal);
        }

        void ApplyKafka(Settings const& now, Settings const* before)
        {
            bool const wasSet = before && before->mKafka;
            if (!now.mKafka && !wasSet)
                return;
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
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, now.mKafka && now.mKafka->mIsEnabled);
        }
    }

    void ApplyToProcess(Settings const& now, Settings const* before)
    {
        ApplyKafka(now, before);
        if (auto const language = Choose(&Settings::mLanguageID, now, before, kEnglish))
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
