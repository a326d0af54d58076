#pragma once

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
            File
        };

        std::string mName;
        Type mType = Type::DebugOutput;
        /// System log only.
        std::string mEventSource;
        /// File only: relative to the base path, or absolute.
        std::string mPath;
        /// File only: bytes at which it rolls over, and how many back-ups are kept.
        unsigned int mMaxFileSize = 2000000;
        unsigned int mBackupCount = 1;
        /// IDs of messages behind which the call stack is written.
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
    ///                           "callStacks": ["ReportFailed"] }
    ///         },
    ///         "routes": {
    ///             "*/Error": ["errors", "journal", "terminal:de"],
    ///             "Kernel/Info": ["terminal:en", "terminal:de"]
    ///         }
    ///     }
    struct Settings
    {
        std::string mServerName;
        unsigned short mLanguageID = 0;
        std::string mBasePath;
        std::vector<DestinationSettings> mDestinations;
        std::vector<Route> mRoutes;
    };

    /// Reads and checks the whole file. Throws QzBase::Message, which names the file, the place in it and the fault;
    /// names that nobody knows are faults too, since they are typing errors.
    Settings LoadSettings(std::string const& path);
}
