#pragma once

#include "reading/InputFile.h"

#include <string>
#include <vector>

namespace QzLogTool
{
    /// A file that a roll-over of a log has left: the log's name, ".bak" and a number of at least two digits, and
    /// ".gz", ".zst" or ".xz" when it was compressed since.
    struct Backup
    {
        std::string mPath;
        unsigned int mNumber;
        FileStatus mStatus;
    };

    /// The back-ups that lie beside a log, the oldest (the one with the largest number) first. One that is just being
    /// compressed is there as it was. The log itself need not be there. Unless its writers pause they may be renamed at
    /// any moment.
    std::vector<Backup> FindBackups(std::string const& logPath);

    /// Takes out of a list of logs what stands in it twice, and back-ups whose log stands in it too: "server.log*" in a
    /// shell names the same records twice.
    std::vector<std::string> WithoutRepetitions(std::vector<std::string> const& paths);

    /// Reads "server.log.bak07", or "server.log.bak07.gz", as number 7 of "server.log".
    /// \return  false when the path does not name a back-up.
    bool SplitBackupPath(std::string const& path, std::string& logPath, unsigned int& number);
}
