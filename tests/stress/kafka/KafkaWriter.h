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

/// The work of one process: its threads write records to a Kafka destination until the ledger says stop, and until some
/// are written. Returns the process's exit code.
int RunKafkaWriter(WriterSettings const& settings, unsigned int process, Properties const& properties, Ledger& ledger);
