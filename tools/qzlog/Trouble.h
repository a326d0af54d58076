#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace QzLogTool
{
    /// What keeps the tool from doing what it was asked for: wrong usage, a file that cannot be read. Its text is
    /// shown to the user as it is; the exit code becomes ExitCode::Trouble.
    class Trouble : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };

    /// What the system refuses.
    /// \param path  "-" is standard input.
    /// \param advice  what to do, if that depends on what was tried.
    inline Trouble MakeSystemTrouble(std::string const& path, int error, std::string const& advice = {})
    {
        std::string text = (path == "-" ? "standard input" : path) + ": " + std::strerror(error);
        if (error == EACCES)
            text += "; try it as the user of the server";
        return Trouble(text + (advice.empty() ? "" : "; ") + advice);
    }
}
