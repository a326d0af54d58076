#include "Broker.h"

#include "support/kafka/MockBroker.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
    // Each command and each answer is a packet.

    void Send(int socket, std::string const& text)
    {
        if (send(socket, text.data(), text.size(), MSG_NOSIGNAL) < 0)
            throw std::runtime_error("the broker has gone");
    }

    std::string Receive(int socket)
    {
        char text[256];
        ssize_t const size = recv(socket, text, sizeof text, 0);
        if (size <= 0)
            throw std::runtime_error("the broker has gone");
        return std::string(text, static_cast<std::size_t>(size));
    }

    /// The errors that a broker answers with, in the order of their numbers.
    std::vector<rd_kafka_resp_err_t> GetBrokerErrors()
    {
        rd_kafka_err_desc const* descriptions = nullptr;
        std::size_t count = 0;
        rd_kafka_get_err_descs(&descriptions, &count);
        std::vector<rd_kafka_resp_err_t> errors;
        for (std::size_t i = 0; i < count; ++i)
            if (descriptions[i].code > RD_KAFKA_RESP_ERR_NO_ERROR && descriptions[i].desc)
                errors.push_back(descriptions[i].code);
        return errors;
    }
}

Broker::Broker(std::string const& topic) : mTopic(topic)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0)
        throw std::runtime_error("no socket");
    mProcess = fork();
    mSocket = pair[mProcess == 0];
    close(pair[mProcess != 0]);
    if (mProcess == 0)
        Serve();
    mAddress = Receive(mSocket);
}

Broker::~Broker()
{
    close(mSocket);
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

void Broker::Serve()
try
{
    // Also if it is stopped then.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    MockBroker mock;
    mock.CreateTopic(mTopic);
    Send(mSocket, mock.GetAddress());
    std::vector<rd_kafka_resp_err_t> const errors = GetBrokerErrors();
    for (;;)
    {
        std::string const command = Receive(mSocket);
        auto const number = std::strtoul(command.c_str() + command.find_last_of(' ') + 1, nullptr, 10);
        if (command == "down")
            mock.GoDown();
        else if (command == "up")
            mock.ComeUp();
        else if (command.starts_with("delay"))
            mock.SetDelay(static_cast<int>(number));
        else
            mock.RefuseNext(errors[number % errors.size()]);
        Send(mSocket, "done");
    }
}
catch (std::exception const&)
{
    _exit(0);
}

void Broker::Command(std::string const& command)
{
    Send(mSocket, command);
    Receive(mSocket);
}

void Broker::Stop()
{
    kill(mProcess, SIGSTOP);
}

void Broker::Continue()
{
    kill(mProcess, SIGCONT);
}

std::vector<std::string> Broker::Consume() const
{
    rd_kafka_conf_t* const conf = rd_kafka_conf_new();
    rd_kafka_conf_set(conf, "bootstrap.servers", mAddress.c_str(), nullptr, 0);
    rd_kafka_conf_set(conf, "group.id", "test", nullptr, 0);
    rd_kafka_conf_set(conf, "enable.partition.eof", "true", nullptr, 0);
    rd_kafka_t* const consumer = rd_kafka_new(RD_KAFKA_CONSUMER, conf, nullptr, 0);
    rd_kafka_topic_partition_list_t* const partitions = rd_kafka_topic_partition_list_new(1);
    rd_kafka_topic_partition_list_add(partitions, mTopic.c_str(), 0)->offset = RD_KAFKA_OFFSET_BEGINNING;
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
        throw std::runtime_error(mTopic + " was not read to its end");
    return values;
}
