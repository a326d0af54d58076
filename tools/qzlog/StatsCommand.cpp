#include "Commands.h"

#include "LogInput.h"
#include "Options.h"
#include "output/Output.h"
#include "stats/Gaps.h"
#include "stats/NewKinds.h"
#include "stats/Scopes.h"
#include "stats/StatsReport.h"
#include "time/MomentOption.h"
#include "time/Moments.h"
#include "traces/TraceReport.h"

#include <limits>
#include <optional>

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
                return "Counts records, and tells what stands out among them";
            }

            void AddOptions(CLI::App& app) override
            {
                mpApp = &app;
                mInput.AddTo(app).required(false);
                mFilterOptions.AddTo(app);
                AddRead(app, "--slot", "SPAN", "Width of the slots of time, such as 10m; as wide as fits without it",
                    [this](std::string const& text)
                    {
                        if (!ReadSpan(text, mSlot) || mSlot == 0)
                            throw Trouble("'" + text + "' is no span of time; write it like \"10m\" or \"1h\"");
                    });
                TakeSeveral(
                    TakeOneOf(app.add_option("--by", mGroupings, "Counts by this instead"), Grouping::GetNames()))
                    ->option_text("WHAT")
                    ->excludes("--slot");
                app.add_flag(
                       "--scopes", mAsksScopes, "How long scopes take, from the lines where they are entered and left")
                    ->option_text(" ")
                    ->excludes("--slot");
                app.add_flag(
                       "--gaps", mAsksGaps, "The longest times without a record, and since when each log is silent")
                    ->option_text(" ")
                    ->excludes("--slot");
                AddMoment(app, "--new-since", "Kinds of message that came for the first time since then",
                    [this](std::int64_t moment) { mNewSince = moment; })
                    ->excludes("--slot");
                TakeSeveral(
                    app.add_option("--trace", mTraces, "Reads a print-out of a command or message trace, and no log"))
                    ->option_text("FILE");
                ShowDefault(app.add_option("--top", mTop, "The N most frequent ones in each table"))
                    ->option_text("N")
                    ->check(RefuseNoCount);
                app.add_flag("--json", mIsJson, "Prints one JSON object, with all names");
            }

            ExitCode Run() override
            {
                if (!mTraces.empty())
                    return ReportTraces();
                if (mInput.mPaths.empty())
                    throw Trouble("LOG is required, or --trace (see qzlog stats --help)");
                Troubles troubles;
                Progress progress;
                RecordFilter filter(mFilterOptions);
                std::unique_ptr<RecordSource> const pSource = mInput.Open(filter, progress, troubles);
                StatsReport report(mGroupings, MakeQuestions(), mSlot);
                for (Record record; pSource->Next(record);)
                    report.Add(record);
                report.Finish();

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
            StatsReport::Questions MakeQuestions() const
            {
                StatsReport::Questions questions;
                if (mAsksScopes)
                    questions.push_back(std::make_unique<Scopes>());
                if (mAsksGaps)
                    questions.push_back(std::make_unique<Gaps>(mTop, GetNow()));
                if (mNewSince)
                    questions.push_back(std::make_unique<NewKinds>(*mNewSince));
                return questions;
            }

            ExitCode ReportTraces() const
            {
                for (CLI::Option const* const pOption : mpApp->get_options())
                {
                    std::string const name = pOption->get_name();
                    bool const fits = name == "--trace" || name == "--top" || name == "--json";
                    if (pOption->count() != 0 && !fits)
                        throw Trouble("--trace reads no log, and takes no " + name + " (see qzlog stats --help)");
                }
                Troubles troubles;
                Output output(nullptr);
                bool hasAny = false;
                for (std::string const& path : mTraces)
                    try
                    {
                        PrintOut const printOut(
                            path, [&troubles](std::string const& what) { troubles.Report(Trouble(what)); });
                        mIsJson ? PrintTraceAsJson(output, path, printOut) : PrintTrace(output, path, printOut, mTop);
                        hasAny = hasAny || printOut.GetPeriods() != 0;
                    }
                    catch (Trouble const& trouble)
                    {
                        troubles.Report(trouble);
                    }
                output.Flush();
                if (troubles.HasAny())
                    return ExitCode::Trouble;
                return hasAny ? ExitCode::Success : ExitCode::Negative;
            }

            CLI::App const* mpApp = nullptr;
            LogInput mInput;
            FilterOptions mFilterOptions;
            std::int64_t mSlot = 0; // as StatsReport takes it
            std::vector<std::string> mGroupings;
            bool mAsksScopes = false;
            bool mAsksGaps = false;
            std::optional<std::int64_t> mNewSince;
            std::vector<std::string> mTraces;
            std::size_t mTop = 20;
            bool mIsJson = false;
        };
    }

    std::unique_ptr<Command> MakeStatsCommand()
    {
        return std::make_unique<StatsCommand>();
    }
}
