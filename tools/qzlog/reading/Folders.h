#pragma once

#include "Troubles.h"

#include <string>
#include <vector>

namespace QzLogTool
{
    /// The logs in a folder, in order of their paths: files that begin with the head of a log, compressed or not, and
    /// those of which there is a back-up or nothing yet but the empty file. A back-up comes with its log. Links to
    /// folders are not followed. Throws Trouble when there is no log.
    /// \param isRecursive  also those in its folders.
    /// \param troubles  learns which folders cannot be read.
    std::vector<std::string> FindLogs(std::string const& folder, bool isRecursive, Troubles& troubles);
}
