#pragma once

#include "Troubles.h"
#include "filter/RecordFilter.h"
#include "output/Progress.h"
#include "reading/LogBytes.h"
#include "reading/RecordSplitter.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// The records of a log. The progress, which learns what is read, must outlive them. Throws Trouble when the log
    /// cannot be read.
    /// \param block  see RecordSplitter.
    std::unique_ptr<RecordSplitter> OpenLog(
        std::string const& path, LogBytes::Files files, Progress& progress, std::size_t block = RecordSplitter::kBlock);

    /// The logs that a subcommand reads.
    struct LogInput
    {
        std::vector<std::string> mPaths;
        bool mIsRecursive = false;
        bool mIsWithoutBackups = false;

        /// Adds operands and options to a subcommand, which this object must outlive.
        /// \return  the operands.
        CLI::Option& AddTo(CLI::App& app);

        /// The logs to read, each of them once; those in folders as they are now.
        std::vector<std::string> FindPaths(Troubles& troubles) const;

        /// What to read of each: `all`, or the log alone.
        LogBytes::Files GetFiles(LogBytes::Files all) const
        {
            return mIsWithoutBackups ? LogBytes::Files::LogAlone : all;
        }

        /// The wanted records of all logs in order of time. A log that cannot be read is reported and left out, also
        /// from where on it cannot be read any more. The arguments must outlive what is returned.
        std::unique_ptr<RecordSource> Open(RecordFilter& filter, Progress& progress, Troubles& troubles) const;
    };
}
