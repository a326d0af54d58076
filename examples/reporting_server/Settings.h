#pragma once

#include <map>
#include <string>
#include <vector>

namespace ReportingServer
{
    /// Where messages can go; `mName` is what routes call it.
    struct DestinationSettings
    {
        enum class Type
        {
            DebugOutput,
            SystemLog,
            File,
            Kafka
        };

        std::string mName;
        Type mType = Type::DebugOutput;
        /// System log only.
        std::string mEventSource;
        /// The file, or the fallback file of Kafka: relative to the base path, or absolute.
        std::string mPath;
        /// Of that file: bytes at which it rolls over, and how many back-ups are kept.
        unsigned int mMaxFileSize = 2000000;
        unsigned int mBackupCount = 1;
        /// IDs of messages after which the call stack is written.
        std::vector<unsigned int> mCallStackIDs;
    };

    /// One destination of a route, in a language of its own or, with 0, in that of the process.
    struct Target
    {
        std::string mDestination;
        unsigned short mLanguageID = 0;
        /// As the file has it, "terminal:de".
        std::string mName;
    };

    struct Route
    {
        /// "Kernel" and so on, or "*" for the loggers without a route of their own.
        std::string mLogger;
        std::string mDispatcher;
        std::vector<Target> mTargets;
    };

    /// What a configuration file says:
    ///
    ///     {
    ///         "server": "Reporting01",             name of the server in every message
    ///         "language": "en",                    process language, "en" or "de"
    ///         "basePath": "logs",                  where relative files live; itself relative to the current directory
    ///         "destinations": {
    ///             "terminal": { "type": "debugOutput" },
    ///             "journal":  { "type": "systemLog", "source": "Reporting server" },
    ///             "errors":   { "type": "file", "path": "error/errors.log", "maxFileSize": 40000, "backups": 3,
    ///                           "callStacks": ["ReportFailed"] },
    ///             "stream":   { "type": "kafka", "path": "stream.log" }       the file gets what Kafka does not take
    ///         },
    ///         "routes": {
    ///             "*/Error": ["errors", "journal", "terminal:de"],
    ///             "Kernel/Info": ["terminal:en", "terminal:de"]
    ///         },
    ///         "kafka": {                           may be absent: all destinations of that type are then files
    ///             "bootstrap.servers": "kafka1:9092,kafka2:9092",
    ///             "compression.codec": "zstd"      and whatever else librdkafka takes
    ///         }
    ///     }
    struct Settings
    {
        std::string mServerName;
        unsigned short mLanguageID = 0;
        std::string mBasePath;
        std::vector<DestinationSettings> mDestinations;
        std::vector<Route> mRoutes;
        /// Properties of librdkafka, by their own names; none without brokers.
        std::map<std::string, std::string> mKafka;
        /// The file as one line of JSON, for whoever reads the logs: without "kafka", which may hold a password.
        std::string mPublicText;
    };

    /// Reads and checks the whole file. Throws QzBase::Message, which names the place in it and the fault; names that
    /// nobody knows are faults too, since they are typing errors. Only librdkafka knows the names of its properties.
    Settings LoadSettings(std::string const& path);
}
