#include "Commands.h"

#include "LogInput.h"
#include "check/LogCheck.h"
#include "time/Moments.h"

#include <limits>
#include <optional>

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
                return "Tells whether logs and their back-ups are well-formed, and what was missed";
            }

            void AddOptions(CLI::App& app) override
            {
                mInput.AddTo(app);
                CLI::Option* const pQuiet =
                    app.add_flag("--quiet,-q", mStyle.mIsQuiet, "Tells what is wrong or was missed, and nothing else");
                app.add_option("--since,-S", mSince, "What was written from then on; the rest is read, not reported")
                    ->option_text("TIME");
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
                constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::min();
                std::int64_t const since = mSince ? ReadMoment(*mSince, GetNow()) : kEver;
                Troubles troubles;
                Progress progress;
                Output output(&progress);
                CheckReport report(mStyle, output);
                LogBytes::Files const files = mInput.GetFiles(LogBytes::Files::WithLeftovers);
                for (std::string const& path : mInput.FindPaths(troubles))
                    try
                    {
                        LogCheck check(path, OpenLog(path, files, progress), since, report);
                        if (files != LogBytes::Files::LogAlone)
                            check.CheckBackups();
                        check.CheckFiles();
                        report.EndLog(path);
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
                return report.HasFaults() ? ExitCode::Negative : ExitCode::Success;
            }

        private:
            LogInput mInput;
            CheckReport::Style mStyle;
            std::optional<std::string> mSince;
        };
    }

    std::unique_ptr<Command> MakeCheckCommand()
    {
        return std::make_unique<CheckCommand>();
    }
}
