#include "Commands.h"
#include "Trouble.h"
#include "output/Pager.h"

#include <QzLog/Version.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace
{
    using namespace QzLogTool;

    using CommandMaker = std::unique_ptr<Command> (*)();

    // In the order in which the help shows them.
    constexpr CommandMaker kMakers[] = {
        MakeViewCommand, MakeCheckCommand, MakeStatsCommand, MakeWriteCommand, MakeMaskCommand};

    /// What is wrong, and where to read more.
    std::string Explain(CLI::ParseError const& error, CLI::App const& app)
    {
        std::string text = error.what();
        std::string const command = app.get_subcommands().empty() ? "" : app.get_subcommands().front()->get_name();
        std::vector<std::string> const remaining = app.remaining(true);
        std::size_t const mismatch = text.find(": 1 required ");
        if (!remaining.empty() && remaining.front().starts_with('-'))
            text = "'" + remaining.front() + "' is no option" + (command.empty() ? "" : " of " + command);
        else if (!remaining.empty() && command.empty())
            text = "'" + remaining.front() + "' is no command";
        else if (mismatch != std::string::npos)
            text = text.substr(0, mismatch) + ": a value is missing";
        return text + " (see qzlog " + (command.empty() ? "" : command + ' ') + "--help)";
    }

    ExitCode Run(int argumentCount, char** arguments)
    {
        CLI::App app("Reads, checks and counts the logs that QzLog writes.", "qzlog");
        app.require_subcommand(1);
        app.fallthrough(false);
        app.set_version_flag("--version", std::string("qzlog ") + QzLog::kVersion);
        app.footer("Exit codes: 0 found or nothing wrong, 1 nothing found or something wrong, 2 trouble.");

        std::vector<std::unique_ptr<Command>> commands;
        Command* pChosen = nullptr;
        for (CommandMaker const make : kMakers)
        {
            Command* const pCommand = commands.emplace_back(make()).get();
            CLI::App* const pApp = app.add_subcommand(pCommand->GetName(), pCommand->GetDescription());
            pCommand->AddOptions(*pApp);
            pApp->callback([&pChosen, pCommand] { pChosen = pCommand; });
        }
        try
        {
            app.parse(argumentCount, arguments);
        }
        catch (CLI::ParseError const& result)
        {
            // Help and version come this way too.
            if (result.get_exit_code() == 0)
            {
                app.exit(result);
                if (!std::cout.flush())
                    throw MakeSystemTrouble("standard output", errno);
                return ExitCode::Success;
            }
            throw Trouble(Explain(result, app));
        }
        return pChosen->Run();
    }
}

int main(int argumentCount, char** arguments)
{
    // A reader that has seen enough, such as `head`, ends the tool without a word. Whoever started it may have told
    // it otherwise.
    std::signal(SIGPIPE, SIG_DFL);
    ExitCode code = ExitCode::Trouble;
    try
    {
        code = Run(argumentCount, arguments);
    }
    catch (Pager::Closed const&)
    {
        code = ExitCode::Success;
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "qzlog: %s\n", error.what());
    }
    if (!Pager::End())
    {
        std::fprintf(stderr, "qzlog: the pager could not be started; set QZLOG_PAGER, or use --no-pager\n");
        code = ExitCode::Trouble;
    }
    return static_cast<int>(code);
}
