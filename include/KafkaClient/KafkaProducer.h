#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>
#include <QzDataType/Variant.h>

#include <cstdint>
#include <map>
#include <string>

/// The client that sends records to Kafka, on librdkafka. The messages of librdkafka itself go to the debug output; its
/// property "log_level" sets how many.
///
/// librdkafka, and the libraries that it needs, are loaded by the first call of Configure with properties, together
/// with the Kafka module of this library: libQzLogKafka.so.1, in the folder that libQzLog2_64.so.1 was loaded from, or
/// where that leads through symbolic links. They are never unloaded. Without them the producer is unusable: Configure
/// throws, the status stays 0 and Send returns false, so that log records go to the disk file of their destination.
namespace KafkaClient
{
    /// Keeps the producer running. The first one starts the producer if it is configured, the last one destroys it.
    /// That waits at most three seconds for queued records and half a second for librdkafka to give up the rest, then
    /// for librdkafka's threads to end. That takes milliseconds, unless a thread is asking the system's resolver for a
    /// broker's address: then it takes until the resolver has answered or given up. Only the thread that destroys the
    /// producer waits: no sender, no fork, no other Initializer and no Configure.
    ///
    /// A process that ends while an Initializer is alive, by exit() for instance, loses the records in the queue.
    ///
    /// Copies count. The logging module holds one for its life. Throws QzBase::Message if librdkafka now refuses what
    /// Configure accepted.
    class QZLOG_API Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) { return *this; }
        ~Initializer();
    };

    /// The one producer of the process. All operations may be called from any thread. All but Configure throw
    /// std::bad_alloc only.
    class QZLOG_API KafkaProducer
    {
    public:
        enum EnumKafkaProducerStatus : int
        {
            /// Not configured, not started or destroyed: unusable.
            kStatusUnusable = 0,
            /// A broker is connected.
            kStatusUp = 1,
            /// Configured, but no broker is connected: Send may be tried.
            kStatusDown = 3
        };

        /// Follows the real connection with each statistics event of librdkafka: every half second, unless
        /// Configure sets "statistics.interval.ms" (0 leaves the status at kStatusDown). Costs a memory read.
        static EnumKafkaProducerStatus GetKafkaProducerStatus();

        /// Hands one record to the client and never waits for the network.
        /// \param topic    UTF-16.
        /// \param options  0.
        /// \param key      the record's key, or null for none.
        /// \param value    the record's bytes: the text in UTF-8, without a terminator.
        /// \return  true if the client accepted the record: it will deliver it or count it as failed. False, and
        ///          nothing will be sent, if the local queue is full, the topic's name is invalid, the producer
        ///          is not running in this process (a forked child has none), or the broker refuses the topic.
        ///          After a record of a topic has failed, one record in ten seconds is accepted as a trial, until
        ///          one is delivered. After some failures librdkafka accepts none until it has asked the broker
        ///          about the topic again ("topic.metadata.refresh.interval.ms").
        static bool Send(
            QzBase::WideString const& topic, int options, std::string const* key, QzDataType::Variant const& value);

        /// Configures the producer with librdkafka's property names, such as "bootstrap.servers", "security.protocol",
        /// "sasl.username" or "compression.codec". Every property is passed on, except that
        /// "delivery.report.only.error" is always true: records are counted without reports of their delivery.
        /// "queue.buffering.max.messages" and "queue.buffering.max.kbytes" limit the records that wait for the broker,
        /// and so what an outage or a crash can lose. "message.timeout.ms" is how long a record waits before it fails.
        ///
        /// Takes effect at once if an Initializer is alive, otherwise with the next one. An earlier producer is
        /// destroyed as described at Initializer. An empty map destroys the producer. In a forked child, Configure
        /// starts a producer of the child's own. It throws there if, at the time of the fork, a thread of the parent
        /// was waiting for the threads of a producer to end.
        ///
        /// Throws QzBase::Message if the Kafka module cannot be loaded; the text names the file and the reason. The
        /// next call tries again. While it is loaded, forks, other calls of Configure and Initializers wait. So the
        /// constructors of a shared object, which run under the loader's lock, must not do any of this while another
        /// thread may be loading it.
        ///
        /// Throws QzBase::Message, with a text that names the property, if a property is unknown or its value invalid;
        /// the present producer is then unchanged. While no Initializer is alive, the properties are only checked one
        /// by one. Whether they go together, and whether certificates and other files that they name can be used, is
        /// checked when an Initializer is constructed.
        static void Configure(std::map<std::string, std::string> const& properties);

        /// Records since the process started. A forked child begins at 0.
        struct Counters
        {
            /// Send returned true, or is about to.
            std::uint64_t mAccepted;
            /// A broker has acknowledged it.
            std::uint64_t mDelivered;
            /// Accepted, but not delivered. Such losses are also reported on the debug output, at most once in ten
            /// seconds and when the producer is destroyed. Those of log records are also reported in a log file, see
            /// QzLog::Destination_KafkaLog.
            std::uint64_t mFailed;
        };

        static Counters GetCounters();
    };
}
