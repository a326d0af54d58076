// The Kafka module: all that touches librdkafka. Its threads report what has become of the records: those of the
// brokers what was delivered, one that serves the events of a producer what was lost, errors, and statistics.

#include "support/kafka/KafkaModule.h"

#include <json/json.h>
#include <librdkafka/rdkafka.h>

#include <new>
#include <utility>
#include <vector>

namespace KafkaClient
{
    namespace
    {
        // How often librdkafka reports the state of its connections, unless the user sets another interval.
        constexpr char const* kStatisticsProperty = "statistics.interval.ms";
        constexpr char const* kStatisticsInterval = "500";

        constexpr char const* kInterceptorName = "QzLog";

        struct ConfDelete
        {
            void operator()(rd_kafka_conf_t* conf) const { rd_kafka_conf_destroy(conf); }
        };

        using Conf = std::unique_ptr<rd_kafka_conf_t, ConfDelete>;

        bool SetProperty(rd_kafka_conf_t* conf, std::string const& name, std::string const& value, std::string& reason)
        {
            char text[512];
            if (rd_kafka_conf_set(conf, name.c_str(), value.c_str(), text, sizeof(text)) == RD_KAFKA_CONF_OK)
                return true;
            reason = "property '" + name + "': " + text;
            return false;
        }

        /// librdkafka's own configuration object with all properties set; null, and the reason, if one is refused.
        Conf MakeConf(Properties const& properties, std::string& reason)
        {
            Conf conf(rd_kafka_conf_new());
            if (!SetProperty(conf.get(), kStatisticsProperty, kStatisticsInterval, reason))
                return nullptr;
            for (auto const& [name, value] : properties)
                if (!SetProperty(conf.get(), name, value, reason))
                    return nullptr;
            return conf;
        }

        /// Whether librdkafka's statistics show a broker that is connected and has answered. Without memory to read
        /// them, none is known to be.
        bool ShowsConnectedBroker(char const* statistics) noexcept
        try
        {
            Json::Value root;
            std::unique_ptr<Json::CharReader> const reader(Json::CharReaderBuilder().newCharReader());
            char const* const end = statistics + std::char_traits<char>::length(statistics);
            if (!reader->parse(statistics, end, &root, nullptr))
                return false;
            for (Json::Value const& broker : root["brokers"])
            {
                std::string const state = broker["state"].asString();
                if (state == "UP" || state == "UPDATE")
                    return true;
            }
            return false;
        }
        catch (std::bad_alloc const&)
        {
            return false;
        }

        ConnectionOwner& GetOwner(void* opaque)
        {
            return *static_cast<ConnectionOwner*>(opaque);
        }

        /// librdkafka would write the line to standard error itself.
        void TakeLogLine(rd_kafka_t const* handle, int, char const* facility, char const* text)
        {
            GetOwner(rd_kafka_opaque(handle)).TakeLogLine(facility, text);
        }

        int OpenSocket(int domain, int type, int protocol, void* opaque)
        {
            return GetOwner(opaque).OpenSocket(domain, type, protocol);
        }

        /// Called by the thread of a broker for each record that it has done with, or by the thread that sends one that
        /// cannot even be queued. Delivered records are counted here and freed at once by librdkafka, so that they do
        /// not pass through another thread. Failed ones are reported by an event, since a report takes locks.
        rd_kafka_resp_err_t TakeAcknowledgement(rd_kafka_t*, rd_kafka_message_t* message, void* opaque)
        {
            // Later releases have no error here for some records of a refused batch, but this status.
            if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR &&
                rd_kafka_message_status(message) != RD_KAFKA_MSG_STATUS_NOT_PERSISTED)
                GetOwner(opaque).TakeDelivery(message->_private);
            else
                GetOwner(opaque).ExpectFailure(message->_private);
            return RD_KAFKA_RESP_ERR_NO_ERROR;
        }

        rd_kafka_resp_err_t WatchAcknowledgements(
            rd_kafka_t* handle, rd_kafka_conf_t const*, void* opaque, char*, std::size_t)
        {
            return rd_kafka_interceptor_add_on_acknowledgement(handle, kInterceptorName, TakeAcknowledgement, opaque);
        }

        /// Keeps a configuration that rd_kafka_new has refused, some 2 kB: the interceptors that it shares with
        /// librdkafka were freed there, and would be freed again with it. A fault of librdkafka, in 2.0.2 at least.
        void Abandon(rd_kafka_conf_t* conf)
        {
            static std::vector<rd_kafka_conf_t*>& abandoned = *new std::vector<rd_kafka_conf_t*>;
            abandoned.push_back(conf);
        }

        void TakeFailures(rd_kafka_event_t* event, ConnectionOwner& owner)
        {
            while (rd_kafka_message_t const* const message = rd_kafka_event_message_next(event))
                owner.TakeFailure(message->_private, rd_kafka_err2str(message->err));
            owner.EndReports();
        }

        void TakeEvent(rd_kafka_t*, rd_kafka_event_t* event, void* opaque)
        {
            ConnectionOwner& owner = GetOwner(opaque);
            switch (rd_kafka_event_type(event))
            {
            case RD_KAFKA_EVENT_DR:
                TakeFailures(event, owner);
                break;
            case RD_KAFKA_EVENT_ERROR:
                if (rd_kafka_event_error(event) == RD_KAFKA_RESP_ERR__ALL_BROKERS_DOWN)
                    owner.SetConnected(false);
                break;
            case RD_KAFKA_EVENT_STATS:
                owner.SetConnected(ShowsConnectedBroker(rd_kafka_event_stats(event)));
                // So that failures that came when no line about them was due are reported.
                owner.EndReports();
                break;
            default:
                break;
            }
            rd_kafka_event_destroy(event);
        }

        class RdKafkaConnection final : public Connection
        {
        public:
            explicit RdKafkaConnection(rd_kafka_t* handle) : mpHandle(handle)
            {
                rd_kafka_queue_t* const main = rd_kafka_queue_get_main(mpHandle);
                rd_kafka_queue_t* const background = rd_kafka_queue_get_background(mpHandle);
                rd_kafka_queue_forward(main, background);
                rd_kafka_queue_destroy(main);
                rd_kafka_queue_destroy(background);
            }

            RdKafkaConnection(RdKafkaConnection const&) = delete;
            RdKafkaConnection& operator=(RdKafkaConnection const&) = delete;
            ~RdKafkaConnection() override { rd_kafka_destroy(mpHandle); }

            void* CreateTopic(char const* name) override { return rd_kafka_topic_new(mpHandle, name, nullptr); }
            void ReleaseTopic(void* topic) override { rd_kafka_topic_destroy(static_cast<rd_kafka_topic_t*>(topic)); }

            bool Send(void* topic, std::string const* key, std::string_view value, void* tag) override
            {
                // Without the flag that lets it block.
                return rd_kafka_produce(static_cast<rd_kafka_topic_t*>(topic), RD_KAFKA_PARTITION_UA,
                           RD_KAFKA_MSG_F_COPY, const_cast<char*>(value.data()), value.size(),
                           key ? key->data() : nullptr, key ? key->size() : 0, tag) == 0;
            }

            bool Flush(int milliseconds) override
            {
                return rd_kafka_flush(mpHandle, milliseconds) == RD_KAFKA_RESP_ERR_NO_ERROR;
            }

            void Purge() override
            {
                // Not waiting for threads that may hang in the resolver.
                rd_kafka_purge(
                    mpHandle, RD_KAFKA_PURGE_F_QUEUE | RD_KAFKA_PURGE_F_INFLIGHT | RD_KAFKA_PURGE_F_NON_BLOCKING);
            }

        private:
            rd_kafka_t* const mpHandle;
        };

        class RdKafkaModule final : public KafkaModule
        {
        public:
            std::string Check(Properties const& properties) const override
            {
                std::string reason;
                MakeConf(properties, reason);
                return reason;
            }

            std::unique_ptr<Connection> Connect(
                Properties const& properties, ConnectionOwner& owner, std::string& reason) const override
            {
                Conf conf = MakeConf(properties, reason);
                // Also if the user wants it otherwise: the other records are counted by TakeAcknowledgement.
                if (!conf || !SetProperty(conf.get(), "delivery.report.only.error", "true", reason))
                    return nullptr;
                rd_kafka_conf_interceptor_add_on_new(conf.get(), kInterceptorName, WatchAcknowledgements, &owner);
                rd_kafka_conf_set_log_cb(conf.get(), TakeLogLine);
                rd_kafka_conf_set_socket_cb(conf.get(), OpenSocket);
                rd_kafka_conf_set_opaque(conf.get(), &owner);
                rd_kafka_conf_set_events(conf.get(), RD_KAFKA_EVENT_DR | RD_KAFKA_EVENT_ERROR | RD_KAFKA_EVENT_STATS);
                rd_kafka_conf_set_background_event_cb(conf.get(), TakeEvent);

                char text[512];
                rd_kafka_t* const handle = rd_kafka_new(RD_KAFKA_PRODUCER, conf.get(), text, sizeof(text));
                if (!handle)
                {
                    Abandon(conf.release());
                    reason = text;
                    return nullptr;
                }
                // The handle owns the configuration from here on.
                static_cast<void>(conf.release());
                return std::make_unique<RdKafkaConnection>(handle);
            }
        };
    }
}

// Constant, so that nothing of it is destroyed while the process ends and its records come in.
extern "C" [[gnu::visibility("default")]] KafkaClient::KafkaModule const* GetQzLogKafkaModule2()
{
    static constinit KafkaClient::RdKafkaModule const gModule{};
    return &gModule;
}
