#include "brokers/Streams.h"

#include "Trouble.h"

namespace QzLogTool
{
    std::unique_ptr<GrowingSources> OpenStreams(BrokerOptions const&, std::int64_t)
    {
        throw Trouble("--brokers: this qzlog was built without Kafka");
    }
}
