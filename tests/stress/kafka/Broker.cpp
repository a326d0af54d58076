#include "Broker.h"

#include "support/kafka/MockBroker.h"

#include <csignal>
#include <sstream>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
    /// Sends a text of any length, its length first.
    void SendText(int socket, std::string const& text)
    {
        std::string const whole = std::to_string(text.size()) + '\n' + text;
        for (std::size_t at = 0; at < whole.size();)
        {
            ssize_t const sent = send(socket, whole.data() + at, whole.size() - at, MSG_NOSIGNAL);
            if (sent <= 0)
                throw std::runtime_error("the broker has gone");
            at += static_cast<std::size_t>(sent);
        }
    }

    void ReceiveBytes(int socket, char* bytes, std::size_t size)
    {
        while (size > 0)
        {
            ssize_t const received = recv(socket, bytes, size, 0);
            if (received <= 0)
                throw std::runtime_error("the broker has gone");
            bytes += received;
            size -= static_cast<std::size_t>(received);
        }
    }

    std::string ReceiveText(int socket)
    {
        std::string size;
        for (char c = '0'; c != '\n'; size += c)
            ReceiveBytes(socket, &c, 1);
        std::string text(std::stoull(size), '\0');
        ReceiveBytes(socket, text.data(), text.size());
        return text;
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

Broker::Broker(std::string const& topic)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        throw std::runtime_error("no socket");
    mProcess = fork();
    mSocket = pair[mProcess == 0];
    close(pair[mProcess != 0]);
    if (mProcess == 0)
        Serve(topic);
    mAddress = ReceiveText(mSocket);
}

Broker::~Broker()
{
    close(mSocket);
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

void Broker::Serve(std::string const& topic)
try
{
    // Also if it is stopped then.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    MockBroker mock;
    mock.CreateTopic(topic);
    SendText(mSocket, mock.GetAddress());
    std::vector<rd_kafka_resp_err_t> const errors = GetBrokerErrors();
    for (;;)
    {
        std::istringstream command(ReceiveText(mSocket));
        std::string verb;
        unsigned int number = 0;
        command >> verb >> number;
        std::string answer;
        if (verb == "down")
            mock.GoDown();
        else if (verb == "up")
            mock.ComeUp();
        else if (verb == "delay")
            mock.SetDelay(static_cast<int>(number));
        else if (verb == "refuse")
            mock.RefuseNext(errors[number % errors.size()]);
        else
            for (std::string const& record : mock.Consume(topic))
                answer += std::to_string(record.size()) + '\n' + record;
        SendText(mSocket, answer);
    }
}
catch (std::exception const&)
{
    _exit(0);
}

std::string Broker::Command(std::string const& command)
{
    SendText(mSocket, command);
    return ReceiveText(mSocket);
}

void Broker::Stop()
{
    kill(mProcess, SIGSTOP);
}

void Broker::Continue()
{
    kill(mProcess, SIGCONT);
}

std::vector<std::string> Broker::Consume()
{
    std::string const all = Command("consume");
    std::vector<std::string> records;
    for (std::size_t at = 0; at < all.size();)
    {
        std::size_t const begin = all.find('\n', at) + 1;
        records.push_back(all.substr(begin, std::stoull(all.substr(at))));
        at = begin + records.back().size();
    }
    return records;
}
