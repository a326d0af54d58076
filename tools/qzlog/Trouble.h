#pragma once

#include <stdexcept>

namespace QzLogTool
{
    /// What keeps the tool from doing what it was asked for: wrong usage, a file that cannot be read. Its text is
    /// shown to the user as it is; the exit code becomes ExitCode::Trouble.
    class Trouble : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };
}
