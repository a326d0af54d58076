#pragma once

#include "Faults.h"
#include "Ledger.h"
#include "Table.h"
#include "Writer.h"

/// Reads all that a campaign has left, wherever it stands: each record whose call returned is there once, or is one of
/// those that the log or, with basic recovery, the writer's figures tell as lost. In a log that was taken away is
/// nothing that was begun later (strict recovery). Adds to the outcome, and prints the first faults.
void CheckCampaign(WriterSettings const& settings, Ledger const& ledger, unsigned int processes, Place const& place,
    Fault const& fault, Outcome& outcome);

/// Reads the log and all its back-ups and holds them against the ledger: every record whose logging call returned
/// is there once and whole; of a killed process at most the record in flight of each thread is missing or cut;
/// only a killed roll-over has left its content in two back-ups; every file begins with the head and has it nowhere
/// else; no back-up is shorter than the limit. Prints the figures in one line, and a line for each of the first
/// faults. Returns whether there was none.
bool CheckLog(WriterSettings const& settings, Ledger const& ledger, unsigned int processes);
