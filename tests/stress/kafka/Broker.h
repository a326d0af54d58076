#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// A Kafka broker in a process of its own: it can be stopped, and writers are forked from a process without a thread of
/// librdkafka. All operations wait until they are done. Throws std::runtime_error if the process has gone.
class Broker
{
public:
    explicit Broker(std::string const& topic);
    Broker(Broker const&) = delete;
    Broker& operator=(Broker const&) = delete;
    ~Broker();

    std::string const& GetAddress() const { return mAddress; }

    /// Cuts all connections, and refuses new ones.
    void GoDown() { Command("down"); }
    void ComeUp() { Command("up"); }
    /// Delays each answer by that.
    void SetDelay(unsigned int milliseconds) { Command("delay " + std::to_string(milliseconds)); }
    /// Refuses the next record with the error that is at that place among those a broker has.
    void RefuseNext(unsigned int error) { Command("refuse " + std::to_string(error)); }
    void Stop();
    void Continue();

    /// The values of the records that the topic holds now, in their order, by a client that knows nothing of ours.
    /// Starts threads of librdkafka in this process.
    std::vector<std::string> Consume() const;

private:
    [[noreturn]] void Serve();
    void Command(std::string const& command);

    std::string const mTopic;
    int mSocket = -1;
    pid_t mProcess = 0;
    std::string mAddress;
};
