// The Kafka client on librdkafka. librdkafka runs threads of its own: one serves the events of a producer
// (delivery reports, errors, statistics), which is where counters and status come from. A sender touches
// the producer under a read lock only, so that it never waits for the network and never sees it destroyed.

#include "os/Calls.h"
#include "os/Cancellation.h"
#include "os/System.h"
#include "support/kafka/Client.h"
#include "support/synch/ForkHold.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>
#include <QzSynch/Locks.h>

#include <json/json.h>
#include <librdkafka/rdkafka.h>

#include <atomic>
#include <iterator>
#include <memory>

namespace KafkaClient
{
    namespace
    {
        using Properties = std::map<std::string, std::string>;

        constexpr int kFlushMilliseconds = 3000;
        constexpr int kPurgeMilliseconds = 500;
        constexpr std::int64_t kReportIntervalNanoseconds = 10'000'000'000;

        // How often librdkafka tells the state of its connections, unless the user asks for another interval.
        constexpr char const* kStatisticsProperty = "statistics.interval.ms";
        constexpr char const* kStatisticsInterval = "500";

        /// Of all producers of the process, one after the other.
        struct Totals
        {
            std::atomic<std::uint64_t> mAccepted{0};
            std::atomic<std::uint64_t> mDelivered{0};
            std::atomic<std::uint64_t> mFailed{0};
            std::atomic<rd_kafka_resp_err_t> mLastError{RD_KAFKA_RESP_ERR_NO_ERROR};
        };

        constinit Totals gTotals;

        /// What has been told of lost records. Under its lock: a producer that ends and the one that
        /// replaces it have event threads of their own.
        struct Told
        {
            QzSynch::CriticalSectionPtr mpLock{QzSynch::CreateCriticalSection(QzSynch::kLockStackCategoryStatic)};
            QzSynch::ForkHold const mForkHold{*mpLock};
            std::uint64_t mFailed = 0;
            std::int64_t mTime = 0;
        };

        Told& GetTold()
        {
            // Not destroyed: like the client below.
            static Told& told = *new Told;
            return told;
        }

        [[noreturn]] void ThrowConfigurationError(std::string const& reason)
        {
            QzBase::Message message;
            message.SetDomainAndID(QzBase::MESSAGE_DOMAIN_SERVER, -1);
            std::string const text = "KafkaClient::KafkaProducer::Configure: " + reason;
            message.SetMessage(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
            throw QzBase::ExceptionImpl<QzBase::Message>(std::move(message));
        }

        struct ConfDelete
        {
            void operator()(rd_kafka_conf_t* conf) const { rd_kafka_conf_destroy(conf); }
        };

        using Conf = std::unique_ptr<rd_kafka_conf_t, ConfDelete>;

        void SetProperty(rd_kafka_conf_t* conf, std::string const& name, std::string const& value)
        {
            char reason[512];
            if (rd_kafka_conf_set(conf, name.c_str(), value.c_str(), reason, sizeof(reason)) != RD_KAFKA_CONF_OK)
                ThrowConfigurationError("property '" + name + "': " + reason);
        }

        /// Whether librdkafka's statistics show a broker that is connected and has answered.
        bool ShowsConnectedBroker(char const* statistics, std::size_t length)
        {
            Json::Value root;
            std::unique_ptr<Json::CharReader> const reader(Json::CharReaderBuilder().newCharReader());
            if (!reader->parse(statistics, statistics + length, &root, nullptr))
                return false;
            for (Json::Value const& broker : root["brokers"])
            {
                std::string const state = broker["state"].asString();
                if (state == "UP" || state == "UPDATE")
                    return true;
            }
            return false;
        }

        void Tell(std::string const& text)
        {
            QzOs::gCalls.mpWriteDebugOutput(
                QzBase::UTF8ToWideChar(("KafkaClient: " + text + "\r\n").c_str(), true).c_str());
        }

        /// What librdkafka has to say, and would write to the standard error by itself.
        void TakeLogLine(rd_kafka_t const*, int, char const* facility, char const* text)
        {
            Tell(std::string(facility) + ": " + text);
        }

        /// Tells how many records were lost since the last time, at most once in the interval unless it is forced.
        void TellFailures(bool isForced)
        {
            Told& told = GetTold();
            std::int64_t const now = QzOs::gCalls.mpGetMonotonicNanoseconds();
            std::uint64_t count = 0;
            {
                QzSynch::CriticalSection::SmartLock const hold(*told.mpLock);
                std::uint64_t const failed = gTotals.mFailed.load(std::memory_order_acquire);
                bool const isDue = told.mTime == 0 || now - told.mTime >= kReportIntervalNanoseconds;
                if (failed == told.mFailed || (!isDue && !isForced))
                    return;
                count = failed - told.mFailed;
                told.mFailed = failed;
                told.mTime = now;
            }
            Tell(std::to_string(count) + " accepted records were given up since the last report: " +
                 rd_kafka_err2str(gTotals.mLastError.load(std::memory_order_relaxed)));
        }

        void TakeDeliveryReports(rd_kafka_event_t* event)
        {
            std::uint64_t delivered = 0;
            std::uint64_t failed = 0;
            while (rd_kafka_message_t const* const message = rd_kafka_event_message_next(event))
            {
                if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR)
                {
                    ++delivered;
                    continue;
                }
                ++failed;
                gTotals.mLastError.store(message->err, std::memory_order_relaxed);
            }
            gTotals.mDelivered.fetch_add(delivered, std::memory_order_release);
            gTotals.mFailed.fetch_add(failed, std::memory_order_release);
            TellFailures(false);
        }

        using Status = std::atomic<KafkaProducer::EnumKafkaProducerStatus>;

        /// Called by librdkafka's event thread of one producer; `opaque` is that producer's status.
        void TakeEvent(rd_kafka_t*, rd_kafka_event_t* event, void* opaque)
        {
            Status& status = *static_cast<Status*>(opaque);
            switch (rd_kafka_event_type(event))
            {
            case RD_KAFKA_EVENT_DR:
                TakeDeliveryReports(event);
                break;
            case RD_KAFKA_EVENT_ERROR:
                if (rd_kafka_event_error(event) == RD_KAFKA_RESP_ERR__ALL_BROKERS_DOWN)
                    status = KafkaProducer::kStatusDown;
                break;
            case RD_KAFKA_EVENT_STATS:
            {
                char const* const statistics = rd_kafka_event_stats(event);
                bool const isUp = ShowsConnectedBroker(statistics, std::char_traits<char>::length(statistics));
                status = isUp ? KafkaProducer::kStatusUp : KafkaProducer::kStatusDown;
                // Those that came when none was due.
                TellFailures(false);
                break;
            }
            default:
                break;
            }
            rd_kafka_event_destroy(event);
        }

        /// librdkafka's own configuration object with all properties set. Throws QzBase::Message.
        Conf MakeConf(Properties const& properties)
        {
            Conf conf(rd_kafka_conf_new());
            SetProperty(conf.get(), kStatisticsProperty, kStatisticsInterval);
            for (auto const& [name, value] : properties)
                SetProperty(conf.get(), name, value);
            return conf;
        }

        /// One running producer. No thread is cancelled inside librdkafka: it would leave locks behind that nobody
        /// gives up.
        class Producer
        {
        public:
            /// Throws QzBase::Message when librdkafka refuses the properties.
            explicit Producer(Properties const& properties) : mForkGeneration(QzOs::GetForkGeneration())
            {
                QzOs::NoCancellation const noCancellation;
                Conf conf = MakeConf(properties);
                rd_kafka_conf_set_log_cb(conf.get(), TakeLogLine);
                rd_kafka_conf_set_opaque(conf.get(), &mStatus);
                rd_kafka_conf_set_events(conf.get(), RD_KAFKA_EVENT_DR | RD_KAFKA_EVENT_ERROR | RD_KAFKA_EVENT_STATS);
                rd_kafka_conf_set_background_event_cb(conf.get(), TakeEvent);

                char reason[512];
                mpHandle = rd_kafka_new(RD_KAFKA_PRODUCER, conf.get(), reason, sizeof(reason));
                if (!mpHandle)
                    ThrowConfigurationError(reason);
                // The handle owns the configuration from here on.
                static_cast<void>(conf.release());
                ServeEventsInBackground();
            }

            Producer(Producer const&) = delete;
            Producer& operator=(Producer const&) = delete;

            /// Delivers what was accepted, in bounded time, and gives up the rest.
            ~Producer()
            {
                // librdkafka's threads did not come along into a forked child: nothing can be ended there.
                if (!IsOfThisProcess())
                    return;
                QzOs::NoCancellation const noCancellation;
                if (rd_kafka_flush(mpHandle, kFlushMilliseconds) != RD_KAFKA_RESP_ERR_NO_ERROR)
                {
                    rd_kafka_purge(mpHandle, RD_KAFKA_PURGE_F_QUEUE | RD_KAFKA_PURGE_F_INFLIGHT);
                    rd_kafka_flush(mpHandle, kPurgeMilliseconds);
                }
                rd_kafka_destroy(mpHandle);
                TellFailures(true);
            }

            KafkaProducer::EnumKafkaProducerStatus GetStatus() const
            {
                return IsOfThisProcess() ? mStatus.load(std::memory_order_relaxed) : KafkaProducer::kStatusUnusable;
            }

            bool Send(char const* topic, std::string const* key, std::string const& value)
            {
                if (!IsOfThisProcess())
                    return false;
                QzOs::NoCancellation const noCancellation;
                rd_kafka_vu_t parts[4];
                parts[0].vtype = RD_KAFKA_VTYPE_TOPIC;
                parts[0].u.cstr = topic;
                parts[1].vtype = RD_KAFKA_VTYPE_KEY;
                parts[1].u.mem = {key ? const_cast<char*>(key->data()) : nullptr, key ? key->size() : 0};
                parts[2].vtype = RD_KAFKA_VTYPE_VALUE;
                parts[2].u.mem = {const_cast<char*>(value.data()), value.size()};
                // Without the flag that lets it block: a full queue is an error at once.
                parts[3].vtype = RD_KAFKA_VTYPE_MSGFLAGS;
                parts[3].u.i = RD_KAFKA_MSG_F_COPY;
                // Counted first, so that no record is seen delivered that was not accepted.
                gTotals.mAccepted.fetch_add(1, std::memory_order_relaxed);
                if (rd_kafka_error_t* const error = rd_kafka_produceva(mpHandle, parts, std::size(parts)))
                {
                    gTotals.mAccepted.fetch_sub(1, std::memory_order_relaxed);
                    rd_kafka_error_destroy(error);
                    return false;
                }
                return true;
            }

        private:
            bool IsOfThisProcess() const { return mForkGeneration == QzOs::GetForkGeneration(); }

            void ServeEventsInBackground()
            {
                rd_kafka_queue_t* const main = rd_kafka_queue_get_main(mpHandle);
                rd_kafka_queue_t* const background = rd_kafka_queue_get_background(mpHandle);
                rd_kafka_queue_forward(main, background);
                rd_kafka_queue_destroy(main);
                rd_kafka_queue_destroy(background);
            }

            Status mStatus{KafkaProducer::kStatusDown};
            std::uint32_t const mForkGeneration;
            rd_kafka_t* mpHandle = nullptr;
        };

        class RdKafkaClient final : public Client
        {
        public:
            KafkaProducer::EnumKafkaProducerStatus GetStatus() override
            {
                QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                return mpProducer ? mpProducer->GetStatus() : KafkaProducer::kStatusUnusable;
            }

            bool Send(QzBase::WideString const& topic, std::string const* key, std::string const& value) override
            {
                QzBase::ReturnString const utf8Topic = QzBase::WideCharToUTF8(topic.c_str(), false);
                QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
                return mpProducer && mpProducer->Send(utf8Topic.c_str(), key, value);
            }

            void Configure(Properties const& properties) override
            {
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                // Made also while it is not needed yet: some bad values show only here.
                std::unique_ptr<Producer> next;
                if (!properties.empty())
                    next = std::make_unique<Producer>(properties);
                mProperties = properties;
                if (mInitializerCount > 0)
                    Exchange(std::move(next));
            }

            KafkaProducer::Counters GetCounters() override
            {
                std::uint64_t const delivered = gTotals.mDelivered.load(std::memory_order_acquire);
                std::uint64_t const failed = gTotals.mFailed.load(std::memory_order_acquire);
                return {gTotals.mAccepted.load(std::memory_order_relaxed), delivered, failed};
            }

            void Start() override
            {
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                if (mInitializerCount == 0 && !mProperties.empty())
                    Exchange(std::make_unique<Producer>(mProperties));
                ++mInitializerCount;
            }

            void Stop() override
            {
                QzSynch::CriticalSection::SmartLock const serialise(*mpConfigurationLock);
                if (--mInitializerCount == 0)
                    Exchange(nullptr);
            }

        private:
            /// Senders go on with the new producer while the old one delivers what it has.
            void Exchange(std::unique_ptr<Producer> producer)
            {
                {
                    QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
                    mpProducer.swap(producer);
                }
                producer.reset();
            }

            // One start, stop or configuration at a time, the end of the earlier producer included; taken before
            // mpLock.
            QzSynch::CriticalSectionPtr mpConfigurationLock{
                QzSynch::CreateCriticalSection(QzSynch::kLockStackCategoryStatic)};
            QzSynch::ForkHold const mConfigurationForkHold{*mpConfigurationLock, QzSynch::ForkHold::kOutermost};
            Properties mProperties;
            int mInitializerCount = 0;
            QzSynch::RWLockPtr mpLock{QzSynch::CreateRWLock(QzSynch::kLockStackCategoryStatic)};
            QzSynch::ForkHold const mForkHold{*mpLock};
            std::unique_ptr<Producer> mpProducer;
        };
    }

    Client& GetBuiltInClient()
    {
        // Not destroyed: static objects of the host program may log until the process ends.
        static RdKafkaClient& client = *new RdKafkaClient;
        return client;
    }

    namespace
    {
        // Made when the library is loaded, so that no fork falls into its making.
        [[maybe_unused]] Client& gClient = GetBuiltInClient();
        [[maybe_unused]] Told& gTold = GetTold();
    }
}
