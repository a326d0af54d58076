#pragma once

#include "Run.h"
#include "Table.h"
#include "Writer.h"

/// Makes a log fail in every way that there is, one after the other, with strict and with basic recovery, again until
/// the time is over, and prints what has become of the messages. Returns whether all was right.
bool RunCampaigns(RunOptions const& options, WriterSettings const& settings, unsigned int minutes);

/// Logs so many records as fast as it goes, with 64 threads, 1,000 routers and 200 dispatchers. What is kept of each
/// thread must have no gap, and the process must not have grown since a tenth of the records.
void RunFlood(std::filesystem::path const& top, std::uint64_t records, Row& row);

/// Logs texts that steer terminals, break lines and forge records, damages the log, and reads both by the tool, again
/// until the time is over. The tool must show all that is undamaged, end by itself, and send no control character to a
/// terminal.
void RunHostile(
    std::filesystem::path const& top, std::string const& tool, unsigned int milliseconds, std::uint64_t seed, Row& row);
