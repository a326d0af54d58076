#pragma once

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafka_mock.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// A broker on loopback that speaks the wire protocol, and an independent consumer that reads from it.
class MockBroker
{
public:
    MockBroker()
    {
        rd_kafka_conf_t* const conf = rd_kafka_conf_new();
        // The host has no brokers, and would complain about that.
        rd_kafka_conf_set_log_cb(conf, nullptr);
        mpHost = rd_kafka_new(RD_KAFKA_PRODUCER, conf, nullptr, 0);
        mpCluster = rd_kafka_mock_cluster_new(mpHost, 1);
    }

    MockBroker(MockBroker const&) = delete;
    MockBroker& operator=(MockBroker const&) = delete;

    ~MockBroker()
    {
        rd_kafka_mock_cluster_destroy(mpCluster);
        rd_kafka_destroy(mpHost);
    }

    std::string GetAddress() const { return rd_kafka_mock_cluster_bootstraps(mpCluster); }
    void CreateTopic(std::string const& topic) { rd_kafka_mock_topic_create(mpCluster, topic.c_str(), 1, 1); }
    void GoDown() { rd_kafka_mock_broker_set_down(mpCluster, 1); }
    void ComeUp() { rd_kafka_mock_broker_set_up(mpCluster, 1); }

    /// Delays each answer by that.
    void SetDelay(int milliseconds) { rd_kafka_mock_broker_set_rtt(mpCluster, 1, milliseconds); }

    /// Refuses the next record; with that error, for good.
    void RefuseNext(rd_kafka_resp_err_t error = RD_KAFKA_RESP_ERR_MSG_SIZE_TOO_LARGE)
    {
        rd_kafka_mock_push_request_errors(mpCluster, 0, 1, error); // 0: Produce
    }

    /// The values of the records that a topic holds now, in their order.
    std::vector<std::string> Consume(std::string const& topic) const
    {
        rd_kafka_conf_t* const conf = rd_kafka_conf_new();
        rd_kafka_conf_set(conf, "bootstrap.servers", GetAddress().c_str(), nullptr, 0);
        rd_kafka_conf_set(conf, "group.id", "test", nullptr, 0);
        rd_kafka_conf_set(conf, "enable.partition.eof", "true", nullptr, 0);
        rd_kafka_t* const consumer = rd_kafka_new(RD_KAFKA_CONSUMER, conf, nullptr, 0);
        rd_kafka_topic_partition_list_t* const partitions = rd_kafka_topic_partition_list_new(1);
        rd_kafka_topic_partition_list_add(partitions, topic.c_str(), 0)->offset = RD_KAFKA_OFFSET_BEGINNING;
        rd_kafka_assign(consumer, partitions);
        rd_kafka_topic_partition_list_destroy(partitions);

        std::vector<std::string> values;
        bool isAtEnd = false;
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!isAtEnd && std::chrono::steady_clock::now() < end)
        {
            rd_kafka_message_t* const message = rd_kafka_consumer_poll(consumer, 100);
            if (!message)
                continue;
            if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR)
                values.emplace_back(static_cast<char const*>(message->payload), message->len);
            isAtEnd = message->err == RD_KAFKA_RESP_ERR__PARTITION_EOF;
            rd_kafka_message_destroy(message);
        }
        rd_kafka_consumer_close(consumer);
        rd_kafka_destroy(consumer);
        if (!isAtEnd)
            throw std::runtime_error(topic + " was not read to its end");
        return values;
    }

private:
    rd_kafka_t* mpHost;
    rd_kafka_mock_cluster_t* mpCluster;
};

/// Whether `condition` comes true while anybody would still wait for it.
template <class Condition>
bool ComesTrue(Condition condition)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
