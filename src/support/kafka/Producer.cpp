// librdkafka runs threads of its own: one serves the events of a producer (delivery reports, errors, statistics),
// from which counts, status and refusals come.

#include "support/kafka/Producer.h"

#include "os/Calls.h"
#include "os/Cancellation.h"
#include "os/Fork.h"
#include "os/Sockets.h"
#include "support/kafka/RecordCounts.h"
#include "support/kafka/TopicLosses.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <json/json.h>

#include <limits>

namespace KafkaClient
{
    namespace
    {
        constexpr int kFlushMilliseconds = 3000;
        constexpr int kPurgeMilliseconds = 500;
        constexpr std::int64_t kTryIntervalNanoseconds = 10'000'000'000;

        // How often librdkafka reports the state of its connections, unless the user sets another interval.
        constexpr char const* kStatisticsProperty = "statistics.interval.ms";
        constexpr char const* kStatisticsInterval = "500";

        [[noreturn]] void ThrowConfigurationError(std::string const& reason)
        {
            QzBase::Message message;
            message.SetDomainAndID(QzBase::MESSAGE_DOMAIN_SERVER, -1);
            std::string const text = "KafkaClient::KafkaProducer::Configure: " + reason;
            message.SetMessage(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
            throw QzBase::ExceptionImpl<QzBase::Message>(std::move(message));
        }

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

        /// A connection that became descriptor 2 would get what the program and the debug output write there.
        int OpenSocket(int domain, int type, int protocol, void* /*opaque*/)
        {
            return QzOs::OpenSocket(domain, type, protocol);
        }

        /// A log line of librdkafka, which would otherwise write it to standard error itself.
        void TakeLogLine(rd_kafka_t const*, int, char const* facility, char const* text)
        {
            Tell(std::string(facility) + ": " + text);
        }

        /// Whether the broker still accepts a topic. Reports come from the event thread of the producer, queries from
        /// any thread.
        class Gate
        {
        public:
            /// Whether a record may pass. While the gate is shut, one per interval may, as a trial.
            bool LetsThrough() noexcept
            {
                std::int64_t nextTry = mNextTry.load(std::memory_order_relaxed);
                if (nextTry == kOpen)
                    return true;
                std::int64_t const now = QzOs::gCalls.mpGetMonotonicNanoseconds();
                return now >= nextTry && mNextTry.compare_exchange_strong(
                                             nextTry, now + kTryIntervalNanoseconds, std::memory_order_relaxed);
            }

            void Open() noexcept
            {
                if (mNextTry.load(std::memory_order_relaxed) != kOpen)
                    mNextTry.store(kOpen, std::memory_order_relaxed);
            }

            /// A gate that is already shut keeps its interval: many failures in a row do not delay the trial.
            void Shut() noexcept
            {
                if (mNextTry.load(std::memory_order_relaxed) == kOpen)
                    mNextTry.store(
                        QzOs::gCalls.mpGetMonotonicNanoseconds() + kTryIntervalNanoseconds, std::memory_order_relaxed);
            }

        private:
            static constexpr std::int64_t kOpen = std::numeric_limits<std::int64_t>::min();

            std::atomic<std::int64_t> mNextTry{kOpen};
        };

        // librdkafka takes a lock of the whole process when the threads of a producer have ended. A child that was
        // forked meanwhile would wait for it for ever.
        constinit std::atomic<int> gEndingProducers{0};
        constinit std::atomic<bool> gLockMayBeLeft{false};
    }

    /// What one producer knows of one topic.
    class Producer::Topic
    {
    public:
        /// Throws std::bad_alloc only; a name that librdkafka refuses leaves the handle null.
        Topic(rd_kafka_t* producer, QzBase::WideString const& name)
            : mpHandle(rd_kafka_topic_new(producer, QzBase::WideCharToUTF8(name.c_str(), false).c_str(), nullptr)),
              mName(name)
        {
        }

        Topic(Topic const&) = delete;
        Topic& operator=(Topic const&) = delete;

        /// Called by the event thread.
        void TakeReport(rd_kafka_resp_err_t error)
        {
            mReported.store(mReported.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            if (error == RD_KAFKA_RESP_ERR_NO_ERROR)
            {
                mGate.Open();
                return;
            }
            mGate.Shut();
            AddLosses(1, error);
        }

        /// Called when the event thread has ended.
        void GiveUpTheRest()
        {
            std::uint64_t const accepted = mAccepted.load(std::memory_order_relaxed);
            std::uint64_t const reported = mReported.load(std::memory_order_relaxed);
            if (accepted != reported)
                AddLosses(accepted - reported, RD_KAFKA_RESP_ERR__PURGE_INFLIGHT);
        }

        struct HandleDelete
        {
            void operator()(rd_kafka_topic_t* handle) const { rd_kafka_topic_destroy(handle); }
        };

        /// Released before the producer is destroyed.
        std::unique_ptr<rd_kafka_topic_t, HandleDelete> mpHandle;
        Gate mGate;
        std::atomic<std::uint64_t> mAccepted{0};

    private:
        void AddLosses(std::uint64_t count, rd_kafka_resp_err_t error)
        {
            // Added here first, so that whoever sees the count finds the losses.
            GetTopicLosses(mName).Add(count, rd_kafka_err2str(error));
            gRecordCounts.AddFailed(count, error);
        }

        QzBase::WideString const mName;
        // On another cache line than what senders write.
        alignas(64) std::atomic<std::uint64_t> mReported{0};
    };

    Conf MakeConf(Properties const& properties)
    {
        Conf conf(rd_kafka_conf_new());
        SetProperty(conf.get(), kStatisticsProperty, kStatisticsInterval);
        for (auto const& [name, value] : properties)
            SetProperty(conf.get(), name, value);
        return conf;
    }

    Producer::Producer(Properties const& properties) : mForkGeneration(QzOs::GetForkGeneration())
    {
        if (gLockMayBeLeft.load(std::memory_order_relaxed))
            ThrowConfigurationError("this process was forked while a producer of its parent was being destroyed.");
        QzOs::NoCancellation const noCancellation;
        Conf conf = MakeConf(properties);
        rd_kafka_conf_set_log_cb(conf.get(), TakeLogLine);
        rd_kafka_conf_set_socket_cb(conf.get(), OpenSocket);
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

    Producer::~Producer()
    {
        // librdkafka's threads do not exist in a forked child: nothing can be shut down there.
        if (!IsOfThisProcess())
            return;
        QzOs::NoCancellation const noCancellation;
        if (rd_kafka_flush(mpHandle, kFlushMilliseconds) != RD_KAFKA_RESP_ERR_NO_ERROR)
        {
            // Not waiting for threads that may hang in the resolver.
            rd_kafka_purge(
                mpHandle, RD_KAFKA_PURGE_F_QUEUE | RD_KAFKA_PURGE_F_INFLIGHT | RD_KAFKA_PURGE_F_NON_BLOCKING);
            rd_kafka_flush(mpHandle, kPurgeMilliseconds);
        }
        for (auto const& [name, topic] : mTopics)
            topic->mpHandle.reset();
        gEndingProducers.fetch_add(1);
        rd_kafka_destroy(mpHandle);
        gEndingProducers.fetch_sub(1);
        for (auto const& [name, topic] : mTopics)
            topic->GiveUpTheRest();
        TellFailures(true);
    }

    void Producer::GoOnInForkedChild() noexcept
    {
        if (gEndingProducers.exchange(0) != 0)
            gLockMayBeLeft = true;
    }

    bool Producer::IsOfThisProcess() const noexcept
    {
        return mForkGeneration == QzOs::GetForkGeneration();
    }

    KafkaProducer::EnumKafkaProducerStatus Producer::GetStatus() const noexcept
    {
        return IsOfThisProcess() ? mStatus.load(std::memory_order_relaxed) : KafkaProducer::kStatusUnusable;
    }

    Producer::Topic* Producer::FindTopic(QzBase::WideString const& name) const
    {
        auto const found = mTopics.find(name);
        return found == mTopics.end() ? nullptr : found->second.get();
    }

    Producer::Topic* Producer::MakeTopic(QzBase::WideString const& name)
    {
        if (Topic* const present = FindTopic(name))
            return present;
        QzOs::NoCancellation const noCancellation;
        auto made = std::make_unique<Topic>(mpHandle, name);
        return made->mpHandle ? mTopics.emplace(name, std::move(made)).first->second.get() : nullptr;
    }

    bool Producer::Send(Topic& topic, std::string const* key, std::string_view value)
    {
        if (!topic.mGate.LetsThrough())
            return false;
        QzOs::NoCancellation const noCancellation;
        // Counted first, so that no record is seen reported that was not accepted.
        gRecordCounts.mAccepted.fetch_add(1, std::memory_order_relaxed);
        topic.mAccepted.fetch_add(1, std::memory_order_relaxed);
        // Copied once, and without the flag that lets it block: a full queue is an error at once.
        if (rd_kafka_produce(topic.mpHandle.get(), RD_KAFKA_PARTITION_UA, RD_KAFKA_MSG_F_COPY,
                const_cast<char*>(value.data()), value.size(), key ? key->data() : nullptr, key ? key->size() : 0,
                &topic) == 0)
            return true;
        topic.mAccepted.fetch_sub(1, std::memory_order_relaxed);
        gRecordCounts.mAccepted.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }

    void Producer::TakeDeliveryReports(rd_kafka_event_t* event)
    {
        std::uint64_t delivered = 0;
        while (rd_kafka_message_t const* const message = rd_kafka_event_message_next(event))
        {
            static_cast<Topic*>(message->_private)->TakeReport(message->err);
            delivered += message->err == RD_KAFKA_RESP_ERR_NO_ERROR;
        }
        gRecordCounts.mDelivered.fetch_add(delivered, std::memory_order_release);
        TellFailures(false);
    }

    /// Called by librdkafka's event thread of one producer; `opaque` is that producer's status.
    void Producer::TakeEvent(rd_kafka_t*, rd_kafka_event_t* event, void* opaque)
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
            // Failures that came when no report was due.
            TellFailures(false);
            break;
        }
        default:
            break;
        }
        rd_kafka_event_destroy(event);
    }

    void Producer::ServeEventsInBackground()
    {
        rd_kafka_queue_t* const main = rd_kafka_queue_get_main(mpHandle);
        rd_kafka_queue_t* const background = rd_kafka_queue_get_background(mpHandle);
        rd_kafka_queue_forward(main, background);
        rd_kafka_queue_destroy(main);
        rd_kafka_queue_destroy(background);
    }
}
