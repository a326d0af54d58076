#pragma once

#include "Table.h"

#include <cstdint>
#include <filesystem>

/// Logs so many records as fast as it goes, with 64 threads, 1,000 routers and 200 dispatchers. What is kept of each
/// thread must have no gap, and the process must not have grown since a tenth of the records. Adds to the row.
void RunFlood(std::filesystem::path const& top, std::uint64_t records, Row& row);
