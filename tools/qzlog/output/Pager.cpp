#include "output/Pager.h"

#include "Trouble.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        // Read by a signal handler, written before that is there.
        pid_t gPager = 0;
        int gErrors = -1; // standard error as it was

        // The terminal sends the signal to the pager as well, which may take it for a command and go on.
        extern "C" void OnInterrupt(int)
        {
            Pager::End();
            _exit(128 + SIGINT);
        }

        bool IsInPath(char const* program)
        {
            char const* const path = std::getenv("PATH");
            std::istringstream folders(path ? path : "");
            for (std::string folder; std::getline(folders, folder, ':');)
                if (access((folder + '/' + program).c_str(), X_OK) == 0)
                    return true;
            return false;
        }

        /// What the shell is to start; empty for nothing.
        std::string GetCommand()
        {
            char const* const terminal = std::getenv("TERM");
            if (!terminal || std::string_view(terminal) == "dumb")
                return std::string();
            char const* command = std::getenv("QZLOG_PAGER");
            if (!command)
                command = std::getenv("PAGER");
            if (!command)
                command = IsInPath("less") ? "less" : "";
            return std::string_view(command) != "cat" ? command : "";
        }

        [[noreturn]] void Run(std::string const& command, int input)
        {
            dup2(input, STDIN_FILENO);
            // Colours as they are; what fits on a screen stays there and ends it.
            setenv("LESS", "FRX", 0);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
    }

    void Pager::Start()
    {
        std::string const command = isatty(STDOUT_FILENO) == 1 ? GetCommand() : std::string();
        if (command.empty())
            return;
        int ends[2];
        pid_t const process = pipe(ends) == 0 ? fork() : -1;
        if (process < 0)
            throw Trouble(std::string("the pager cannot be started: ") + std::strerror(errno) + "; use --no-pager");
        close(ends[process == 0 ? 1 : 0]);
        if (process == 0)
            Run(command, ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        gErrors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (isatty(STDERR_FILENO) == 1)
            dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        gPager = process;
        std::signal(SIGINT, OnInterrupt);
        std::signal(SIGPIPE, SIG_IGN);
    }

    bool Pager::IsRunning()
    {
        return gPager != 0;
    }

    bool Pager::End()
    {
        if (gPager == 0)
            return true;
        // It sees the end once nobody can write to it.
        close(STDOUT_FILENO);
        if (gErrors >= 0)
            dup2(gErrors, STDERR_FILENO);
        else
            close(STDERR_FILENO);
        int status = 0;
        while (waitpid(gPager, &status, 0) < 0 && errno == EINTR)
            continue;
        // What the shell says of a command that it cannot start.
        return !WIFEXITED(status) || (WEXITSTATUS(status) != 126 && WEXITSTATUS(status) != 127);
    }
}
