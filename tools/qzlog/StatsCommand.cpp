#include "Commands.h"

#include "LogInput.h"
#include "output/Output.h"
#include "stats/StatsReport.h"
#include "time/Moments.h"

#include <limits>

namespace QzLogTool
{
    namespace
    {
        class StatsCommand : public Command
        {
        public:
            char const* GetName() const override { return "stats"; }
            char const* GetDescription() const override
            {
                return "Counts records by logger, dispatcher, message ID and time";
            }

            void AddOptions(CLI::App& app) override
            {
                mInput.AddTo(app);
                mFilterOptions.AddTo(app);
                app.add_option("--slot", mSlot, "Width of the slots of time, such as 10m; as wide as fits without it")
                    ->option_text("SPAN");
                app.add_option("--by", mGroupings,
                       "Counts by this instead: user, session, object, host, server, process, thread, logger, "
                       "dispatcher, id, message (what its first line has in common with others), minute, hour or day")
                    ->option_text("WHAT")
                    ->check(CLI::IsMember(Grouping::GetNames()))
                    ->expected(1)
                    ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                    ->excludes("--slot");
                app.add_option("--top", mTop, "The N most frequent ones in each table (20)")
                    ->option_text("N")
                    ->check(CLI::Range(std::numeric_limits<std::int64_t>::max()));
                app.add_flag("--json", mIsJson, "Prints one JSON object, with all names");
            }

            ExitCode Run() override
            {
                std::int64_t slot = 0;
                if (!mSlot.empty() && (!ReadSpan(mSlot, slot) || slot == 0))
                    throw Trouble("'" + mSlot + "' is no span of time; write it like \"10m\" or \"1h\"");
                Troubles troubles;
                Progress progress;
                RecordFilter filter(mFilterOptions);
                std::unique_ptr<RecordSource> const pSource = mInput.Open(filter, progress, troubles);
                StatsReport report(mGroupings, slot);
                for (Record record; pSource->Next(record);)
                    report.Add(record);

                Output output(&progress);
                if (mIsJson)
                    report.PrintJson(output);
                else
                    report.PrintTables(output, GetTerminalWidth(), mTop);
                output.Flush();
                if (troubles.HasAny())
                    return ExitCode::Trouble;
                return report.GetCount() != 0 ? ExitCode::Success : ExitCode::Negative;
            }

        private:
            LogInput mInput;
            FilterOptions mFilterOptions;
            std::string mSlot;
            std::vector<std::string> mGroupings;
            std::size_t mTop = 20;
            bool mIsJson = false;
        };
    }

    std::unique_ptr<Command> MakeStatsCommand()
    {
        return std::make_unique<StatsCommand>();
    }
}
