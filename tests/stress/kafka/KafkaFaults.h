#pragma once

#include "Broker.h"
#include "KafkaWriter.h"

#include <random>
#include <vector>

struct KafkaFault
{
    char const* mpName;
    /// Does it once, and undoes it.
    void (*mpDo)(Broker& broker, std::mt19937_64& random);
    /// Beside those of all writers.
    Properties mProperties = {};
    bool mKillsWriters = false;
    bool mHoldsResolver = false;
};

/// All of them. The first one does nothing.
extern std::vector<KafkaFault> const gKafkaFaults;
