#pragma once

#include "time/Moments.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>

namespace QzLogTool
{
    /// Adds an option that is a moment, see ReadMoment. A text that is none is wrong usage. The option may come several
    /// times.
    /// \param take   receives each, in milliseconds since 1970-01-01 00:00 UTC.
    /// \param after  see ReadMoment; must outlive the parsing, and is read with each.
    CLI::Option* AddMoment(CLI::App& app, char const* name, char const* description,
        std::function<void(std::int64_t)> const& take, std::int64_t const& after = kLongAgo);
}
