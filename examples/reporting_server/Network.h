#pragma once

#include "Channel.h"
#include "Request.h"

namespace ReportingServer
{
    /// What arrives from web clients and from the other nodes of the cluster.
    class Network
    {
    public:
        explicit Network(Channel const& channel) : mChannel(channel) {}

        unsigned int TakeBody(Request const& request);
        unsigned int GreetPeer(Request const& request);

    private:
        Channel const& mChannel;
    };
}
