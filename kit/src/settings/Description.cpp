#include "settings/Description.h"

#include "MessageText.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLogKit/Utf8.h>

#include <cstdio>

namespace QzLogKit
{
    namespace
    {
        // In the order of RateLimitPer.
        constexpr char const* kPer[] = {"message ID", "call site", "dispatcher"};

        std::string LanguageText(unsigned short id)
        {
            char text[sizeof("0x0407")];
            std::snprintf(text, sizeof text, "0x%04X", id);
            return text;
        }

        template <class List, class ToText>
        std::string Join(List const& list, ToText toText)
        {
            std::string text;
            for (auto const& element : list)
                text += (text.empty() ? "" : ", ") + toText(element);
            return text;
        }

        std::string JoinTexts(std::vector<std::string> const& texts)
        {
            return Join(texts, [](std::string const& text) { return text; });
        }

        std::string DescribeFile(DestinationSettings const& destination)
        {
            return "file '" + destination.mPath + "', rolled over at " + std::to_string(destination.mMaxFileSize) +
                   " bytes, back-ups: " + std::to_string(destination.mBackupCount) + ", " +
                   (destination.mRecovery == QzLog::kRecoveryStrict ? "strict" : "basic") +
                   " recovery, retried after " + std::to_string(destination.mRetryInterval) + " s" +
                   (destination.mReportsLosses ? ", losses to the system log" : "");
        }

        std::string DescribeTarget(DestinationSettings const& destination)
        {
            switch (destination.mType)
            {
            case DestinationType::DebugOutput:
                return "debug output";
            case DestinationType::SystemLog:
                return "system log" + (destination.mSource.empty() ? "" : " as '" + destination.mSource + '\'');
            case DestinationType::File:
                return DescribeFile(destination);
            case DestinationType::Kafka:
                return "Kafka, else " + DescribeFile(destination);
            case DestinationType::Language:
                return "to " + destination.mTo;
            case DestinationType::RateLimit:
                return "to " + destination.mTo + ", at most " + std::to_string(destination.mMessages) +
                       " messages in " + std::to_string(destination.mPeriod) + " s for each " +
                       kPer[static_cast<std::size_t>(destination.mPer)];
            case DestinationType::Selection:
                return "to " + destination.mTo + ", only users (" + JoinTexts(destination.mSelection.mUserIDs) +
                       "), sessions (" + JoinTexts(destination.mSelection.mSessionIDs) + "), objects (" +
                       JoinTexts(destination.mSelection.mObjectIDs) + ')';
            }
            return std::string();
        }

        std::string DescribeDestination(DestinationSettings const& destination)
        {
            std::string text = DescribeTarget(destination);
            if (destination.mLanguageID != 0)
                text += ", in language " + LanguageText(destination.mLanguageID);
            if (!destination.mCallStackIDs.empty())
                text += ", call stacks of " + Join(destination.mCallStackIDs, MessageIDText);
            return text;
        }

        std::string DescribeKafka(Settings const& settings)
        {
            std::string text = settings.mKafka->mIsEnabled ? "on" : "off";
            std::string topic = settings.mKafka->mTopic;
            if (topic.empty())
                topic = GetKafkaTopic();
            if (topic.empty())
                topic = "Kvel.ReportingEngine.Diag." +
                        std::string(QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), true).c_str()) + '.' +
                        settings.mServerName.value_or("(the program's name of the server)");
            text += ", topic " + topic;
            if (!settings.mKafka->mClient.empty())
                text += ", client properties " +
                        Join(settings.mKafka->mClient, [](auto const& property) { return property.first; });
            if (settings.mKafka->mPublishesSettings)
                text += ", publishes the settings";
            return text;
        }

        std::string DescribeProcess(Settings const& settings)
        {
            std::string text;
            if (settings.mServerName)
                text += "Server: " + *settings.mServerName + '\n';
            if (settings.mBasePath)
                text += "Base path: " + *settings.mBasePath + '\n';
            if (settings.mLanguageID)
                text += "Process language: " + LanguageText(*settings.mLanguageID) + '\n';
            if (settings.mKafka)
                text += "Kafka: " + DescribeKafka(settings) + '\n';
            return text;
        }

        std::string DescribeNames(Settings const& settings, RoutingHook::Names const& names)
        {
            std::string text;
            for (auto const& [logger, dispatchers] : names)
                for (std::string const& dispatcher : dispatchers)
                {
                    Route const* const route = FindRoute(settings, logger, dispatcher);
                    (((text += "  ") += logger) += '/') += dispatcher;
                    ((text += " by ") += route ? route->GetText() : "no route: off") += '\n';
                }
            return text.empty() ? text : "Loggers and dispatchers:\n" + text;
        }
    }

    std::string DescribeSettings(Settings const& settings, RoutingHook::Names const& names)
    {
        std::string text = "Settings of '" + settings.mFile + "'\n" + DescribeProcess(settings) + "Destinations:\n";
        for (auto const& [name, destination] : settings.mDestinations)
            text += "  " + name + ": " + DescribeDestination(destination) + '\n';
        text += "Routes, the most exact first:\n";
        for (Route const& route : settings.mRoutes)
            text +=
                "  " + route.GetText() + " -> " + (route.mTargets.empty() ? "off" : JoinTexts(route.mTargets)) + '\n';
        for (CatalogSettings const& catalog : settings.mCatalogs)
            text += "Catalog of " + catalog.mLogger.GetText() + ": '" + catalog.mPath +
                    "', messages: " + std::to_string(catalog.mpTexts->mTexts.size()) + '\n';
        return text + DescribeNames(settings, names);
    }
}
