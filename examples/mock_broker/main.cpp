// A Kafka broker for trying things out: one of librdkafka's mock cluster, on loopback, with everything in memory.
// It prints its address, then takes "down" and "up" as lines of its standard input and repeats each one when that is
// done; it ends with its standard input or by a signal. Topics that are named on the command line have one partition
// and so one order; others come with several when somebody first asks for them.

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafka_mock.h>

#include <iostream>
#include <memory>
#include <string>

namespace
{
    constexpr int kBrokerID = 1;

    struct HandleDelete
    {
        void operator()(rd_kafka_t* handle) const { rd_kafka_destroy(handle); }
    };

    struct ClusterDelete
    {
        void operator()(rd_kafka_mock_cluster_t* cluster) const { rd_kafka_mock_cluster_destroy(cluster); }
    };

    int Complain(std::string const& what)
    {
        std::cerr << "mock_broker: " << what << '\n';
        return 1;
    }

    void Obey(rd_kafka_mock_cluster_t* cluster, std::string const& command)
    {
        if (command == "down")
            rd_kafka_mock_broker_set_down(cluster, kBrokerID);
        else if (command == "up")
            rd_kafka_mock_broker_set_up(cluster, kBrokerID);
        else
        {
            Complain("'" + command + "' is neither 'down' nor 'up'");
            return;
        }
        std::cout << command << std::endl;
    }
}

int main(int argc, char** argv)
{
    char reason[512];
    rd_kafka_conf_t* const conf = rd_kafka_conf_new();
    // The host of the cluster is a client without brokers, and would complain about that.
    rd_kafka_conf_set_log_cb(conf, nullptr);
    std::unique_ptr<rd_kafka_t, HandleDelete> const host(rd_kafka_new(RD_KAFKA_PRODUCER, conf, reason, sizeof reason));
    if (!host)
        return Complain(reason);
    std::unique_ptr<rd_kafka_mock_cluster_t, ClusterDelete> const cluster(rd_kafka_mock_cluster_new(host.get(), 1));
    if (!cluster)
        return Complain("no broker can be started");
    for (int i = 1; i < argc; ++i)
        if (rd_kafka_resp_err_t const error = rd_kafka_mock_topic_create(cluster.get(), argv[i], 1, 1))
            return Complain(std::string("topic '") + argv[i] + "': " + rd_kafka_err2str(error));

    std::cout << rd_kafka_mock_cluster_bootstraps(cluster.get()) << std::endl;
    std::string command;
    while (std::getline(std::cin, command))
        Obey(cluster.get(), command);
    return 0;
}
