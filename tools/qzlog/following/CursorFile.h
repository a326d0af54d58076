#pragma once

#include "following/LogPosition.h"

#include <map>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Remembers in a file how far logs were read, so that a later process goes on there. It is written beside and
    /// renamed: whenever the process ends, one state or the other is there as a whole. Of two processes with one file
    /// each would forget what the other remembers.
    class CursorFile
    {
    public:
        /// Reads the file, which need not be there yet, and writes it as each Save does. Throws Trouble when it is
        /// something else, or cannot be written.
        /// \param syncs  whether a state that is remembered is to outlive a failure of the machine.
        CursorFile(std::string path, bool syncs);

        /// Whether it remembers nothing yet.
        bool IsNew() const { return mPositions.empty(); }

        /// Whether states are to outlive a failure of the machine.
        bool Syncs() const { return mSyncs; }

        /// Where to go on in a log.
        /// \param path  in any form. The position has the absolute one, and nothing else when the log is not known.
        LogPosition Find(std::string const& path) const;

        /// Remembers positions, and those of other logs as before. Throws Trouble when the file cannot be written.
        void Save(std::vector<LogPosition> const& positions);

    private:
        void Read(std::string const& text);
        std::string MakeText() const;
        void Write(std::string const& text) const;

        std::string const mPath;
        bool const mSyncs;
        std::map<std::string, LogPosition> mPositions;
    };
}
