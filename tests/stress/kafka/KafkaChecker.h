#pragma once

#include "KafkaWriter.h"
#include "Ledger.h"
#include "Table.h"
#include "Writer.h"

#include <string>
#include <vector>

/// Holds what a broker and the log file have against the ledger: each record whose call returned was consumed, or is
/// once in the file, or is one of those that the file reports as lost. Adds to the outcome, and prints the first
/// faults. Returns how many were consumed.
std::uint64_t CheckKafka(WriterSettings const& settings, Ledger const& ledger, Figures const& figures,
    unsigned int processes, std::vector<std::string> const& stream, std::string const& file, Outcome& outcome);
