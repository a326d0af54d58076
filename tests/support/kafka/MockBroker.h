#pragma once

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafka_mock.h>

#include <chrono>
#include <string>
#include <thread>

/// A broker on loopback that speaks the wire protocol.
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
