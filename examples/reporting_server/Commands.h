#pragma once

#include <string_view>

namespace ReportingServer
{
    /// The row of the server command table that has this name, or -1.
    int FindCommand(std::string_view name);

    /// The command that the calling thread works on, for the message trace. Outside a request it is the row
    /// "MiscUpdate": the server's own business.
    int GetCommandOfThread();

    /// Sets the calling thread's command for its own life.
    class CommandOfThread
    {
    public:
        explicit CommandOfThread(int command);
        ~CommandOfThread();
        CommandOfThread(CommandOfThread const&) = delete;
        CommandOfThread& operator=(CommandOfThread const&) = delete;
    };
}
