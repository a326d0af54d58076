#pragma once

#include "brokers/BrokerOptions.h"
#include "following/Growing.h"

#include <cstdint>
#include <memory>

namespace QzLogTool
{
    /// The streams of records that servers publish to Kafka, each partition of a topic a source in its own order. The
    /// first look finds what a stream holds when it is opened, later ones what has come since. New topics are found
    /// too.
    ///
    /// Each source has a queue of bounded size, so merging looks at the heads of all and holds no more than those
    /// queues. Throws Trouble when the brokers do not answer, and when this tool was built without Kafka.
    /// \param since  milliseconds since 1970-01-01 00:00 UTC: records that were published earlier are left out.
    std::unique_ptr<GrowingSources> OpenStreams(BrokerOptions const& options, std::int64_t since);
}
