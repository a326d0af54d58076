#pragma once

#include "output/Progress.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Standard output with a buffer. Operations throw Trouble when it takes nothing more, and Pager::Closed when the
    /// pager does not; a closed pipe ends the process silently, as it does with any tool.
    class Output
    {
    public:
        /// \param pProgress  is hidden before anything comes to the terminal that both share; may be null.
        explicit Output(Progress* pProgress);

        /// Without what was not flushed: whoever writes flushes when all has gone well.
        ~Output() = default;
        Output(Output const&) = delete;
        Output& operator=(Output const&) = delete;

        /// Also when a pager shows it on one.
        bool IsTerminal() const { return mIsTerminal; }

        void Write(std::string_view text);

        /// Writes a text and a line end. On a terminal nothing that the text holds can steer it.
        void WriteLine(std::string_view text);
        void Flush();

        /// Flushes, and lets what a file has taken outlive a failure of the machine.
        void Sync();

    private:
        Progress* const mpProgress;
        bool const mIsTerminal;
        std::string mBuffer;
    };

    /// Whether to use colours. In the mode "auto" they are for a terminal, unless NO_COLOR is set or it has none;
    /// the others are "always" and "never".
    bool UsesColor(std::string_view mode, bool isTerminal);

    /// Columns of the terminal, or what COLUMNS says, or 80.
    unsigned int GetTerminalWidth();
}
