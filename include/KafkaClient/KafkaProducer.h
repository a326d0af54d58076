#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>
#include <QzDataType/Variant.h>

#include <cstdint>
#include <map>
#include <string>

/// The client that sends records to Kafka, on librdkafka. In a library that was built without librdkafka
/// the producer is never to be used: its status stays 0, Send gives false and Configure throws. What librdkafka
/// has to say goes to the debug output; its property "log_level" decides how much that is.
namespace KafkaClient
{
    /// Keeps the producer running. The first one starts it if it is configured; the end of the last one waits at most
    /// three seconds for records that are still on their way and half a second for librdkafka to give up the rest.
    /// Then it waits for librdkafka's threads to end. That takes milliseconds, but a thread that is asking the system's
    /// resolver for a broker's address ends no sooner than the resolver has answered or given up. Only the thread that
    /// ends the producer waits: no sender, no fork, no other Initializer and no Configure.
    ///
    /// A process that ends without that, by exit() while an Initializer lives for instance, loses what is queued.
    ///
    /// Copies count. The logging module holds one for its life. Throws QzBase::Message when librdkafka refuses now what
    /// Configure has taken.
    class QZLOG_API Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) { return *this; }
        ~Initializer();
    };

    /// The one producer of the process. All operations may be called from any thread. Apart from what Configure
    /// says they throw std::bad_alloc at most.
    class QZLOG_API KafkaProducer
    {
    public:
        enum EnumKafkaProducerStatus : int
        {
            /// Not configured, not started or ended: not to be used.
            kStatusUnusable = 0,
            /// A broker is connected.
            kStatusUp = 1,
            /// Configured, but no broker is connected: can be tried.
            kStatusDown = 3
        };

        /// Follows the real connection, as often as librdkafka gives its statistics: every half second, unless
        /// Configure sets "statistics.interval.ms" (0 leaves the status at kStatusDown). Costs a shared lock.
        static EnumKafkaProducerStatus GetKafkaProducerStatus();

        /// Hands one record to the client and never waits for the network.
        /// \param topic    UTF-16.
        /// \param options  0.
        /// \param key      the record's key, or null for none.
        /// \param value    the record's bytes: the text in UTF-8, without a terminator.
        /// \return  true when the client took the record and will deliver it or count it as failed;
        ///          false, and nothing will be sent, when the local queue is full, the topic's name is
        ///          bad, the producer is not running in this process (a forked child has none), or the broker does
        ///          not take the topic: after a record of it has failed, one record in ten seconds is taken as a
        ///          try, until one is delivered. After some failures librdkafka takes none before it has asked the
        ///          broker about the topic again ("topic.metadata.refresh.interval.ms").
        static bool Send(
            QzBase::WideString const& topic, int options, std::string const* key, QzDataType::Variant const& value);

        /// Sets the producer up with librdkafka's own property names, such as "bootstrap.servers",
        /// "security.protocol", "sasl.username" or "compression.codec"; every property passes through.
        /// "queue.buffering.max.messages" and "queue.buffering.max.kbytes" limit what waits for the broker, and so what
        /// an outage or a crash can lose; "message.timeout.ms" is how long a record waits before it counts as failed.
        ///
        /// Takes effect at once when an Initializer lives, else when one comes; an earlier producer then ends as
        /// described at Initializer. An empty map ends the producer. In a forked child, Configure starts a producer of
        /// the child's own. It throws there if a thread of the parent was waiting for the threads of a producer to end
        /// at the moment of the fork.
        ///
        /// Throws QzBase::Message with a text that names the property when one is unknown or its value
        /// bad; the producer in force then stays as it was. While no Initializer lives, each property is looked at by
        /// itself and nothing is started: whether they go together, and whether certificates and other files that they
        /// name can be used, shows when the Initializer comes.
        static void Configure(std::map<std::string, std::string> const& properties);

        /// Records since the process started. A forked child begins at 0.
        struct Counters
        {
            /// Send gave true, or is about to.
            std::uint64_t mAccepted;
            /// A broker has acknowledged it.
            std::uint64_t mDelivered;
            /// Given up after it was accepted. Such losses are also reported on the debug output, at most once in
            /// ten seconds and when the producer ends. Those of log records are also reported in a log file, see
            /// QzLog::Destination_KafkaLog.
            std::uint64_t mFailed;
        };

        static Counters GetCounters();
    };
}
