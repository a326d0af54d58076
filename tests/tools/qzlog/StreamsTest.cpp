// What is shown of the streams that a broker keeps.

#include "brokers/Streams.h"
#include "support/kafka/MockBroker.h"

#include "Trouble.h"
#include "reading/Merger.h"

#include <gtest/gtest.h>

#include <limits>

using namespace QzLogTool;

namespace
{
    constexpr std::int64_t kAlways = std::numeric_limits<std::int64_t>::min();

    class StreamsTest : public testing::Test
    {
    protected:
        /// Publishes records, given by the millisecond that they have as their time and their text.
        void Publish(std::string const& topic, std::vector<int> const& milliseconds) const
        {
            rd_kafka_conf_t* const conf = rd_kafka_conf_new();
            rd_kafka_conf_set(conf, "bootstrap.servers", mBroker.GetAddress().c_str(), nullptr, 0);
            rd_kafka_t* const producer = rd_kafka_new(RD_KAFKA_PRODUCER, conf, nullptr, 0);
            rd_kafka_topic_t* const handle = rd_kafka_topic_new(producer, topic.c_str(), nullptr);
            for (int const millisecond : milliseconds)
            {
                std::string const number = std::to_string(millisecond);
                std::string text = "2026-11-18 03:02:07." + number +
                                   " [HOST:h][SERVER:s][PID:1][THR:1][L][D][UID:0][SID:0][OID:0] a\r\n" + number + "\r";
                EXPECT_EQ(
                    rd_kafka_produce(handle, 0, RD_KAFKA_MSG_F_COPY, text.data(), text.size(), nullptr, 0, nullptr), 0);
            }
            EXPECT_EQ(rd_kafka_flush(producer, 30'000), RD_KAFKA_RESP_ERR_NO_ERROR);
            rd_kafka_topic_destroy(handle);
            rd_kafka_destroy(producer);
        }

        BrokerOptions MakeOptions(std::vector<std::string> topics) const
        {
            return {mBroker.GetAddress(), std::move(topics), {"fetch.wait.max.ms=10"}};
        }

        static void AppendNumbers(std::string& to, RecordSource& source)
        {
            for (Record record; source.Next(record);)
            {
                EXPECT_EQ(record.mKind, Record::Kind::Message);
                EXPECT_TRUE(record.mText.ends_with("\r\n"));
                to.append(record.mText.substr(record.mText.size() - 5, 3)).append(" ");
            }
        }

        /// What the streams hold, in the order in which it is shown.
        std::string View(std::vector<std::string> topics) const
        {
            auto const streams = OpenStreams(MakeOptions(std::move(topics)), kAlways);
            std::vector<std::unique_ptr<RecordSource>> sources;
            for (GrowingSource& source : streams->FindNew())
            {
                source.mpGrowth->Look();
                sources.push_back(std::move(source.mpRecords));
            }
            Merger merger(std::move(sources));
            std::string numbers;
            AppendNumbers(numbers, merger);
            return numbers;
        }

        MockBroker mBroker;
    };
}

TEST_F(StreamsTest, StreamsOfManyServersAreMergedByTime)
{
    Publish("Kvel.ReportingEngine.Diag.a.Engine", {100, 300, 500});
    Publish("Kvel.ReportingEngine.Diag.b.Engine", {200, 400, 350, 600});
    Publish("Kvel.ReportingEngine.Diag.b.Engine.RegtrySettings", {201});
    Publish("Other", {202});
    EXPECT_EQ(View({}), "100 200 300 400 350 500 600 ");
    EXPECT_EQ(View({"*.a.*"}), "100 300 500 ");
    EXPECT_EQ(View({"Other", "*Settings"}), "201 202 ");
    EXPECT_EQ(View({"*.c.*"}), "");
}

TEST_F(StreamsTest, AFollowerGetsWhatComesLaterAndOnlyThat)
{
    std::string const topic = "Kvel.ReportingEngine.Diag.a.Engine";
    mBroker.CreateTopic(topic);
    Publish(topic, {100, 200});
    auto const streams = OpenStreams(MakeOptions({}), kAlways);
    auto const sources = streams->FindNew();
    ASSERT_EQ(sources.size(), 1u);
    Publish(topic, {300});
    std::string numbers;
    auto const look = [&]
    {
        sources[0].mpGrowth->Look();
        AppendNumbers(numbers, *sources[0].mpRecords);
        return numbers.size() >= 16;
    };
    look();
    EXPECT_EQ(numbers, "100 200 ");
    Publish(topic, {400});
    EXPECT_TRUE(ComesTrue(look));
    EXPECT_EQ(numbers, "100 200 300 400 ");
}
