#include "brokers/Streams.h"

#include "Trouble.h"
#include "brokers/Partition.h"
#include "following/EndRequest.h"

#include <fnmatch.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <set>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kStreamName = "Kvel.ReportingEngine.Diag.";
        // A topic that holds a server's settings, not records.
        constexpr std::string_view kSettingsSuffix = ".RegtrySettings";

        // How long an answer is waited for; once there was one, others go on meanwhile.
        constexpr int kFirstTimeoutMilliseconds = 15'000;
        constexpr int kLaterTimeoutMilliseconds = 2'000;
        constexpr int kPollMilliseconds = 50;
        constexpr std::chrono::steady_clock::duration kSearchInterval = std::chrono::seconds(5);

        using ConfPtr = std::unique_ptr<rd_kafka_conf_t, KafkaDeleter<rd_kafka_conf_destroy>>;
        using PartitionsPtr =
            std::unique_ptr<rd_kafka_topic_partition_list_t, KafkaDeleter<rd_kafka_topic_partition_list_destroy>>;

        void Set(rd_kafka_conf_t& conf, std::string const& name, std::string const& value)
        {
            char reason[512];
            if (rd_kafka_conf_set(&conf, name.c_str(), value.c_str(), reason, sizeof reason) != RD_KAFKA_CONF_OK)
                throw Trouble("-X " + name + '=' + value + ": " + reason);
        }

        ConfPtr MakeConf(BrokerOptions const& options)
        {
            ConfPtr conf(rd_kafka_conf_new());
            Set(*conf, "bootstrap.servers", options.mBrokers);
            Set(*conf, "client.id", "qzlog");
            Set(*conf, "enable.partition.eof", "true");
            // For each partition.
            Set(*conf, "queued.max.messages.kbytes", "1024");
            // A follower does not let people wait for long when a broker is back.
            Set(*conf, "reconnect.backoff.max.ms", "2000");
            for (std::string const& property : options.mProperties)
            {
                std::size_t const at = property.find('=');
                if (at == std::string::npos)
                    throw Trouble("-X " + property + ": is not of the form property=value");
                Set(*conf, property.substr(0, at), property.substr(at + 1));
            }
            rd_kafka_conf_set_log_cb(conf.get(), nullptr);
            return conf;
        }

        // The function has the same name.
        using Metadata = struct rd_kafka_metadata;

        class Streams : public GrowingSources
        {
        public:
            Streams(BrokerOptions const& options, std::int64_t since);

            std::vector<GrowingSource> FindNew() override;
            void Wait() override;

        private:
            using Place = std::pair<std::string, std::int32_t>;

            int GetTimeout() const { return mHasSearched ? kLaterTimeoutMilliseconds : kFirstTimeoutMilliseconds; }
            std::vector<GrowingSource> OpenNew();
            std::vector<Place> Search();
            bool IsWanted(std::string const& topic) const;
            std::vector<std::int64_t> FindBeginnings(std::vector<Place> const& places) const;
            static void OnError(rd_kafka_t*, int error, char const* reason, void* pStreams);
            [[noreturn]] void Throw(rd_kafka_resp_err_t error) const;

            BrokerOptions const mOptions;
            std::int64_t const mSince;
            std::string mReason;
            KafkaClientPtr mpClient;
            std::set<Place> mKnown;
            bool mHasSearched = false;
            bool mIsDown = false;
            std::chrono::steady_clock::time_point mNextSearch;
        };

        Streams::Streams(BrokerOptions const& options, std::int64_t since) : mOptions(options), mSince(since)
        {
            ConfPtr conf = MakeConf(options);
            rd_kafka_conf_set_opaque(conf.get(), this);
            rd_kafka_conf_set_error_cb(conf.get(), OnError);
            char reason[512];
            mpClient.reset(rd_kafka_new(RD_KAFKA_CONSUMER, conf.get(), reason, sizeof reason));
            if (!mpClient)
                throw Trouble("--brokers: " + std::string(reason));
            // It belongs to the client now.
            static_cast<void>(conf.release());
        }

        /// Called out of rd_kafka_poll, on our thread.
        void Streams::OnError(rd_kafka_t*, int, char const* reason, void* pStreams)
        {
            static_cast<Streams*>(pStreams)->mReason = reason;
        }

        void Streams::Throw(rd_kafka_resp_err_t error) const
        {
            rd_kafka_poll(mpClient.get(), 0);
            throw Trouble(mOptions.mBrokers + ": " + (mReason.empty() ? rd_kafka_err2str(error) : mReason));
        }

        bool Streams::IsWanted(std::string const& topic) const
        {
            if (mOptions.mTopics.empty())
                return topic.starts_with(kStreamName) && !topic.ends_with(kSettingsSuffix);
            return std::any_of(mOptions.mTopics.begin(), mOptions.mTopics.end(),
                [&topic](std::string const& pattern) { return fnmatch(pattern.c_str(), topic.c_str(), 0) == 0; });
        }

        /// The partitions of wanted topics that were not known.
        std::vector<Streams::Place> Streams::Search()
        {
            Metadata const* pFound = nullptr;
            rd_kafka_resp_err_t const error = rd_kafka_metadata(mpClient.get(), 1, nullptr, &pFound, GetTimeout());
            if (error != RD_KAFKA_RESP_ERR_NO_ERROR)
                Throw(error);
            std::unique_ptr<Metadata const, KafkaDeleter<rd_kafka_metadata_destroy>> const found(pFound);
            std::vector<Place> places;
            for (int topic = 0; topic < found->topic_cnt; ++topic)
            {
                rd_kafka_metadata_topic const& description = found->topics[topic];
                for (int i = 0; IsWanted(description.topic) && i < description.partition_cnt; ++i)
                    if (Place place(description.topic, description.partitions[i].id); !mKnown.contains(place))
                        places.push_back(std::move(place));
            }
            return places;
        }

        /// Where each partition is read from, by the time at which its records were published. They were made earlier,
        /// so none is left out that was made since then.
        std::vector<std::int64_t> Streams::FindBeginnings(std::vector<Place> const& places) const
        {
            std::vector<std::int64_t> beginnings(places.size(), RD_KAFKA_OFFSET_BEGINNING);
            if (mSince == std::numeric_limits<std::int64_t>::min() || places.empty())
                return beginnings;
            PartitionsPtr const list(rd_kafka_topic_partition_list_new(static_cast<int>(places.size())));
            for (auto const& [topic, number] : places)
                rd_kafka_topic_partition_list_add(list.get(), topic.c_str(), number)->offset =
                    std::max<std::int64_t>(mSince, 0);
            rd_kafka_resp_err_t const error = rd_kafka_offsets_for_times(mpClient.get(), list.get(), GetTimeout());
            if (error != RD_KAFKA_RESP_ERR_NO_ERROR)
                Throw(error);
            for (std::size_t i = 0; i < places.size(); ++i)
                if (list->elems[i].err == RD_KAFKA_RESP_ERR_NO_ERROR)
                    beginnings[i] = list->elems[i].offset;
            return beginnings;
        }

        std::vector<GrowingSource> Streams::FindNew()
        {
            if (std::chrono::steady_clock::now() < mNextSearch)
                return {};
            mNextSearch = std::chrono::steady_clock::now() + kSearchInterval;
            try
            {
                std::vector<GrowingSource> sources = OpenNew();
                mIsDown = false;
                mHasSearched = true;
                return sources;
            }
            catch (Trouble const& trouble)
            {
                if (!mHasSearched)
                    throw;
                // What is open goes on when the brokers are back.
                if (!std::exchange(mIsDown, true))
                    std::fprintf(stderr, "qzlog: %s\n", trouble.what());
                return {};
            }
        }

        std::vector<GrowingSource> Streams::OpenNew()
        {
            std::vector<Place> const places = Search();
            if (!mHasSearched && places.empty())
                std::fprintf(stderr, "qzlog: %s: no stream has such a name\n", mOptions.mBrokers.c_str());
            std::vector<std::int64_t> const beginnings = FindBeginnings(places);
            std::vector<GrowingSource> sources;
            for (std::size_t i = 0; i < places.size(); ++i)
            {
                auto const& [topic, number] = places[i];
                std::int64_t low = 0;
                std::int64_t high = 0;
                rd_kafka_resp_err_t const error =
                    rd_kafka_query_watermark_offsets(mpClient.get(), topic.c_str(), number, &low, &high, GetTimeout());
                if (error != RD_KAFKA_RESP_ERR_NO_ERROR)
                    Throw(error);
                // No record is as late as that, yet.
                std::int64_t const begin = beginnings[i] == RD_KAFKA_OFFSET_END ? high : std::max(low, beginnings[i]);
                auto partition = std::make_unique<Partition>(*mpClient, topic, number, begin, high);
                Growth* const pGrowth = partition.get();
                sources.push_back({std::move(partition), pGrowth});
            }
            mKnown.insert(places.begin(), places.end());
            return sources;
        }

        void Streams::Wait()
        {
            rd_kafka_poll(mpClient.get(), 0);
            EndRequest::Wait(-1, kPollMilliseconds);
        }
    }

    std::unique_ptr<GrowingSources> OpenStreams(BrokerOptions const& options, std::int64_t since)
    {
        return std::make_unique<Streams>(options, since);
    }
}
