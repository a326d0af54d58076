#pragma once

#include <string>
#include <vector>

namespace QzLogTool
{
    /// Which streams are read, and how.
    struct BrokerOptions
    {
        /// "host:port,host:port"; some of a cluster are enough.
        std::string mBrokers;
        /// Shell patterns for the names of topics; none for the streams of all servers.
        std::vector<std::string> mTopics;
        /// "property=value", as the Kafka client takes them.
        std::vector<std::string> mProperties;
    };
}
