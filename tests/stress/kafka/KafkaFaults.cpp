#include "KafkaFaults.h"

#include <unistd.h>

namespace
{
    /// That long on an average.
    void Pause(unsigned int milliseconds, std::mt19937_64& random)
    {
        usleep(static_cast<useconds_t>(random() % (2000 * milliseconds)));
    }

    void CutConnections(Broker& broker, std::mt19937_64& random)
    {
        broker.GoDown();
        Pause(300, random);
        broker.ComeUp();
        Pause(300, random);
    }

    void Stop(Broker& broker, std::mt19937_64& random)
    {
        broker.Stop();
        Pause(400, random);
        broker.Continue();
        Pause(200, random);
    }

    void Delay(Broker& broker, std::mt19937_64& random)
    {
        broker.SetDelay(static_cast<unsigned int>(random() % 800));
        Pause(200, random);
        broker.SetDelay(0);
        Pause(20, random);
    }

    /// One error after the other, those that the client tries again after and those that it gives up on.
    void Refuse(Broker& broker, std::mt19937_64& random)
    {
        static unsigned int gError = static_cast<unsigned int>(random());
        for (unsigned int i = 0; i < 5; ++i)
            broker.RefuseNext(gError++);
        Pause(10, random);
    }

    void Nothing(Broker&, std::mt19937_64&) {}
}

std::vector<KafkaFault> const gKafkaFaults = {
    {"none", Nothing},
    {"broker killed", CutConnections},
    {"broker stopped", Stop},
    {"broker slow", Delay},
    {"broker refuses", Refuse},
    {"queue full", Delay, {{"queue.buffering.max.messages", "3"}}},
    {"resolver silent", Nothing, {}, false, true},
    {"writers killed", Nothing, {}, true},
};
