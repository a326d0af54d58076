#pragma once

#include "Ledger.h"
#include "Writer.h"

#include <map>
#include <string>

using Properties = std::map<std::string, std::string>;

/// The host that no resolver answers for, in this program.
inline constexpr char const* kSilentHost = "silent.invalid";

/// The topic of all writers.
std::string GetTopic();

/// The work of one process, as RunWriter does it, to a Kafka destination. Returns the process's exit code.
int RunKafkaWriter(WriterSettings const& settings, unsigned int process, Properties const& properties, Ledger& ledger);
