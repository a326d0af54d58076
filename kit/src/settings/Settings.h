#pragma once

#include "settings/CatalogFile.h"
#include "settings/Pattern.h"

#include <QzLog/Destination_DiskFile.h>
#include <QzLogKit/Destination_RateLimit.h>
#include <QzLogKit/Destination_Selection.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogKit
{
    enum class DestinationType
    {
        DebugOutput,
        SystemLog,
        File,
        Kafka,
        // Those that pass messages on to another one.
        Language,
        RateLimit,
        Selection
    };

    struct DestinationSettings
    {
        DestinationType mType = DestinationType::DebugOutput;
        /// System log: the event source; empty leaves the present one.
        std::string mSource;
        /// File and Kafka.
        std::string mPath;
        unsigned int mMaxFileSize = 2000000;
        unsigned int mBackupCount = 1;
        QzLog::Recovery mRecovery = QzLog::kRecoveryStrict;
        /// Seconds.
        unsigned int mRetryInterval = 300;
        /// File and Kafka: the first lost message of each failure is an event of the system log.
        bool mReportsLosses = false;
        /// 0 for the process language.
        unsigned short mLanguageID = 0;
        /// In ascending order, each once.
        std::vector<unsigned int> mCallStackIDs;
        /// Of a destination that passes messages on: the name of the other one; empty for all others.
        std::string mTo;
        /// Rate limit: the period in seconds.
        unsigned int mMessages = 0;
        unsigned int mPeriod = 0;
        RateLimitPer mPer = RateLimitPer::kMessageID;
        Selection mSelection;

        bool operator==(DestinationSettings const&) const = default;
    };

    /// Ordered by exactness: the first that matches decides.
    struct Route
    {
        Pattern mLogger;
        Pattern mDispatcher;
        /// Names of destinations.
        std::vector<std::string> mTargets;

        std::string GetText() const { return mLogger.GetText() + '/' + mDispatcher.GetText(); }
    };

    struct KafkaSettings
    {
        bool mIsEnabled = true;
        bool mPublishesSettings = false;
        /// Empty for the one that follows from the server's name.
        std::string mTopic;
        /// The line of the topic's name, for the fault that only the process finds.
        unsigned int mTopicLine = 0;
        /// Properties of librdkafka.
        std::map<std::string, std::string> mClient;
    };

    struct CatalogSettings
    {
        Pattern mLogger;
        std::string mPath;
        std::shared_ptr<CatalogTexts const> mpTexts;
    };

    /// What a settings file says. It has been checked: names that are used exist, and no two destinations are one
    /// object with two opinions.
    struct Settings
    {
        std::string mFile;
        std::optional<std::string> mServerName;
        std::optional<std::string> mBasePath;
        std::optional<unsigned short> mLanguageID;
        std::optional<KafkaSettings> mKafka;
        std::map<std::string, DestinationSettings> mDestinations;
        /// The most exact first.
        std::vector<Route> mRoutes;
        std::vector<CatalogSettings> mCatalogs;
        /// The file as one line of JSON without the section "kafka", which may hold passwords.
        std::string mPublicText;
        /// The lines of the Kafka client's section and of its properties, for the faults that only the client finds.
        unsigned int mClientLine = 0;
        std::map<std::string, unsigned int> mClientLines;
    };

    /// Throws SettingsError.
    Settings ReadSettings(std::string const& file);

    /// The same for a text in memory; `file` names it, and catalogs are looked for beside it.
    Settings ParseSettings(std::string const& file, std::string text);

    /// The route of a dispatcher, or null.
    Route const* FindRoute(Settings const& settings, std::string_view logger, std::string_view dispatcher);

    /// The catalog of a logger, or null.
    CatalogSettings const* FindCatalog(Settings const& settings, std::string_view logger);
}
