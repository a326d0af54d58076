#pragma once

#include "Channel.h"

#include <QzLog/CmdLogTrace.h>

#include <atomic>
#include <cstdint>
#include <filesystem>

namespace ReportingServer
{
    /// The figures beside the log: how long each command took, and (reported by NamedDestination) how many messages
    /// went where. A period ends after a number of requests.
    class Traces
    {
    public:
        /// \param folder      where the two print-outs go; made if it is missing.
        /// \param periodSize  requests in a period, above 0.
        Traces(std::filesystem::path const& folder, unsigned int periodSize);

        /// Counts one command of the calling thread. May be called from any thread.
        void Report(int command, std::int64_t microseconds);

        /// Ends the last period and prints all of them. Says on the channel what goes wrong. To be called when no
        /// other thread reports or logs any more.
        void Print(Channel const& channel);

    private:
        void Collect();

        std::filesystem::path const mFolder;
        unsigned int const mPeriodSize;
        std::atomic<unsigned int> mRequests{0};
        QzLog::CmdLogTrace mCommands;
    };
}
