#include "Commands.h"

#include "LogInput.h"
#include "check/LogCheck.h"
#include "time/MomentOption.h"

#include <limits>

namespace QzLogTool
{
    namespace
    {
        class CheckCommand : public Command
        {
        public:
            char const* GetName() const override { return "check"; }

            char const* GetDescription() const override
            {
                return "Reports faults in logs and their back-ups, and the messages that were missed";
            }

            void AddOptions(CLI::App& app) override
            {
                mInput.AddTo(app);
                CLI::Option* const pQuiet = app.add_flag(
                    "--quiet,-q", mStyle.mIsQuiet, "Reports what is wrong or was missed, and nothing else");
                AddMoment(app, "--since,-S", "What was written from then on; the rest is read, not reported",
                    [this](std::int64_t moment) { mSince = moment; });
                CLI::Option* const pExplain = app.add_flag(
                    "--explain", mStyle.mExplains, "Says after each kind of report what it means and what to do");
                app.add_flag("--monitor", mStyle.mIsForMonitor,
                       "Prints one line for a monitoring system, as plug-ins of Nagios do")
                    ->option_text(" ")
                    ->excludes(pQuiet)
                    ->excludes(pExplain);
                for (CLI::Option* const pOption : {pQuiet, pExplain})
                    pOption->option_text(" ");
            }

            ExitCode Run() override
            {
                Troubles troubles;
                Progress progress;
                Output output(&progress);
                CheckReport report(mStyle, output);
                LogBytes::Files const files = mInput.GetFiles(LogBytes::Files::WithLeftovers);
                for (std::string const& path : mInput.FindPaths(troubles))
                    try
                    {
                        LogCheck check(path, OpenLog(path, files, progress), mSince, report);
                        if (files != LogBytes::Files::LogAlone)
                            check.CheckBackups();
                        check.CheckFiles();
                    }
                    catch (Trouble const& trouble)
                    {
                        progress.Hide();
                        troubles.Report(trouble);
                        report.AddTrouble(trouble.what());
                    }
                report.Finish();
                output.Flush();
                if (troubles.HasAny())
                    return ExitCode::Trouble;
                return report.IsAlarming() ? ExitCode::Negative : ExitCode::Success;
            }

        private:
            LogInput mInput;
            CheckReport::Style mStyle;
            std::int64_t mSince = std::numeric_limits<std::int64_t>::min();
        };
    }

    std::unique_ptr<Command> MakeCheckCommand()
    {
        return std::make_unique<CheckCommand>();
    }
}
