#include "Commands.h"

#include <QzLog/ServerCommands.h>

#include <map>

namespace ReportingServer
{
    namespace
    {
        constexpr int kNoCommand = -1;

        thread_local int gCommandOfThread = kNoCommand;

        std::map<std::string_view, int> MakeCommandTable()
        {
            std::map<std::string_view, int> commands;
            for (int id = 0; id <= QzLog::kLastServerCommand; ++id)
                commands.emplace(QzLog::GetServerCommandName(id), id);
            return commands;
        }
    }

    int FindCommand(std::string_view name)
    {
        static std::map<std::string_view, int> const commands = MakeCommandTable();
        auto const found = commands.find(name);
        return found == commands.end() ? kNoCommand : found->second;
    }

    int GetCommandOfThread()
    {
        static int const ownBusiness = FindCommand("MiscUpdate");
        return gCommandOfThread == kNoCommand ? ownBusiness : gCommandOfThread;
    }

    CommandOfThread::CommandOfThread(int command)
    {
        gCommandOfThread = command;
    }

    CommandOfThread::~CommandOfThread()
    {
        gCommandOfThread = kNoCommand;
    }
}
