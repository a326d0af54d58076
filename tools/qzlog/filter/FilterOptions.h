#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Which records are wanted. A record must meet each kind of condition, and one of several of the same kind.
    struct FilterOptions
    {
        std::vector<std::string> mHosts;
        std::vector<std::string> mServers;
        std::vector<std::string> mProcesses;
        std::vector<std::string> mThreads;
        std::vector<std::string> mLoggers;
        std::vector<std::string> mDispatchers;
        // An empty one stands for records without that ID. Eight upper-case hexadecimal digits.
        std::vector<std::string> mMessageIDs;
        std::vector<std::string> mUsers;
        std::vector<std::string> mSessions;
        std::vector<std::string> mObjects;
        std::vector<std::string> mTexts;
        std::vector<std::string> mExpressions;
        bool mIgnoresCase = false;
        // Inverts all of the above, but not the span of time.
        bool mIsInverted = false;

        // Milliseconds since 1970-01-01 00:00 UTC; from the first on, up to and without the second.
        std::int64_t mSince = std::numeric_limits<std::int64_t>::min();
        std::int64_t mUntil = std::numeric_limits<std::int64_t>::max();

        // Moments without an offset are in UTC, and so are those that are shown.
        bool mUsesUTC = false;

        /// Adds them to a subcommand. This object must outlive it.
        void AddTo(CLI::App& app);
    };
}
