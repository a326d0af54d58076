#pragma once

#include <CLI/CLI.hpp>

#include <memory>

namespace QzLogTool
{
    /// How the tool ends; the same in all subcommands, and as in grep.
    enum class ExitCode
    {
        /// Found, or nothing wrong.
        Success = 0,
        /// Nothing found, or something wrong in a log.
        Negative = 1,
        /// Wrong usage, a file that cannot be read, output that cannot be written.
        Trouble = 2
    };

    /// A subcommand. It lives in a file of its own, which ends with a function that makes it; Commands.h lists those.
    class Command
    {
    public:
        virtual ~Command() = default;

        virtual char const* GetName() const = 0;

        /// One line for the list of subcommands.
        virtual char const* GetDescription() const = 0;

        /// Adds options and operands, bound to members of this object.
        virtual void AddOptions(CLI::App& app) = 0;

        /// Does the work, after the options were read. Throws Trouble.
        virtual ExitCode Run() = 0;
    };
}
