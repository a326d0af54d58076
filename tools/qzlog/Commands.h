#pragma once

#include "Command.h"

// One function for each subcommand; main.cpp has the table.

namespace QzLogTool
{
    std::unique_ptr<Command> MakeCheckCommand();
    std::unique_ptr<Command> MakeMaskCommand();
    std::unique_ptr<Command> MakeStatsCommand();
    std::unique_ptr<Command> MakeViewCommand();
    std::unique_ptr<Command> MakeWriteCommand();
}
