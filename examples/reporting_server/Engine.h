#pragma once

#include "Channel.h"
#include "Request.h"

#include <string>

namespace ReportingServer
{
    /// Runs reports. Reports lie in folders, and each folder has its database; one of the databases is down.
    class Engine
    {
    public:
        explicit Engine(Channel const& channel) : mChannel(channel) {}

        unsigned int RunReport(Request const& request);
        unsigned int Search(Request const& request);

    private:
        std::string FindDatabase(std::string const& report);
        void Fetch(std::string const& database, Request const& request);

        Channel const& mChannel;
    };
}
