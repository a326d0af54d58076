#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

// What the library and its Kafka module need of each other. The module is a shared object of its own, so that
// librdkafka and the libraries below it are loaded by the processes that configure a producer and by no others. It
// knows nothing of the library but this header: everything that both would need passes through here. Texts are UTF-8.

namespace KafkaClient
{
    using Properties = std::map<std::string, std::string>;

    /// What the module needs of the library. Called by threads of librdkafka: by one at a time, but for deliveries,
    /// expected failures and sockets. Throws nothing.
    class ConnectionOwner
    {
    public:
        /// One record has been delivered. `tag` is what Send was given. The threads that call it, several at a time,
        /// must not wait for anything.
        virtual void TakeDelivery(void* tag) noexcept = 0;

        /// One record is lost, which TakeFailure reports in a moment, or Send is about to refuse one. Called as
        /// TakeDelivery is, in the order in which a broker has answered.
        virtual void ExpectFailure(void* tag) noexcept = 0;

        /// One record is lost.
        virtual void TakeFailure(void* tag, char const* reason) noexcept = 0;

        /// No failure is at hand at the moment.
        virtual void EndReports() noexcept = 0;

        /// Whether a broker is connected.
        virtual void SetConnected(bool isConnected) noexcept = 0;

        /// A log line of librdkafka.
        virtual void TakeLogLine(char const* facility, char const* text) noexcept = 0;

        /// A socket for librdkafka, as socket(2) makes it.
        virtual int OpenSocket(int domain, int type, int protocol) noexcept = 0;

    protected:
        ~ConnectionOwner() = default;
    };

    /// A running producer of librdkafka. All operations may be called from any thread. The calling thread must not be
    /// cancelled, since that would leave librdkafka's locks held.
    class Connection
    {
    public:
        /// Waits until the threads have ended; all topics are released before.
        virtual ~Connection() = default;

        /// A handle for the topic; null if librdkafka refuses the name.
        virtual void* CreateTopic(char const* name) = 0;
        virtual void ReleaseTopic(void* topic) = 0;

        /// Whether the record was accepted. It is copied. Never waits: a full queue accepts none.
        virtual bool Send(void* topic, std::string const* key, std::string_view value, void* tag) = 0;

        /// Waits until all records are reported. Returns whether they are.
        virtual bool Flush(int milliseconds) = 0;

        /// Gives up what is not delivered, without waiting.
        virtual void Purge() = 0;
    };

    class KafkaModule
    {
    public:
        /// Checks each of the properties, and starts nothing. Returns the reason if one is refused, else an empty text.
        virtual std::string Check(Properties const& properties) const = 0;

        /// Null, and the reason, if librdkafka refuses the properties.
        virtual std::unique_ptr<Connection> Connect(
            Properties const& properties, ConnectionOwner& owner, std::string& reason) const = 0;

    protected:
        ~KafkaModule() = default;
    };
}

/// What the module exports; not null. The number in the name changes with anything above, so that a module of another
/// release is refused.
extern "C" KafkaClient::KafkaModule const* GetQzLogKafkaModule2();

namespace KafkaClient
{
    inline constexpr char const* kModuleEntry = "GetQzLogKafkaModule2";
}
