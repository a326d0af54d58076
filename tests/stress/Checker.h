#pragma once

#include "Faults.h"
#include "Ledger.h"
#include "Table.h"
#include "Writer.h"

/// Reads all that a campaign has left, wherever it stands: each record whose call returned is there once, or is one of
/// those that the log or, with basic recovery, the writer's figures tell as lost. In a log that was taken away is
/// nothing that was begun later (strict recovery). With a stream, all records that a Kafka topic holds, each is there
/// or in the log. Adds to the outcome, and prints the first faults.
void CheckCampaign(WriterSettings const& settings, Ledger const& ledger, Place const& place, Fault const& fault,
    Outcome& outcome, std::vector<std::string> const* stream = nullptr);
