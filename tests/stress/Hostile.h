#pragma once

#include "Table.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// Logs texts that steer terminals, break lines and forge records, damages the log, and reads both by the tool, again
/// until the time is over. The tool must show all, end by itself, and send no control character to a terminal. Adds to
/// the row.
void RunHostile(
    std::filesystem::path const& top, std::string const& tool, unsigned int milliseconds, std::uint64_t seed, Row& row);
