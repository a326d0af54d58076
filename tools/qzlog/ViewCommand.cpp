#include "Commands.h"

#include "GrowingInput.h"
#include "GuardedSource.h"
#include "LogInput.h"
#include "Options.h"
#include "filter/Context.h"
#include "filter/FilteredSource.h"
#include "following/EndRequest.h"
#include "following/Follower.h"
#include "output/JsonPrinter.h"
#include "output/OtlpPrinter.h"
#include "output/Pager.h"
#include "output/TextPrinter.h"
#include "reading/LastRecords.h"

#include <cstdio>
#include <functional>
#include <limits>

#include <unistd.h>

namespace QzLogTool
{
    namespace
    {
        // How many records a kill may make come a second time.
        constexpr std::uint64_t kRecordsAtRisk = 1000;

        class ViewCommand : public Command
        {
        public:
            char const* GetName() const override { return "view"; }
            char const* GetDescription() const override
            {
                return "Shows the records of logs and their back-ups, merged by time";
            }

            void AddOptions(CLI::App& app) override
            {
                mGrowing.AddTo(app, mInput.AddTo(app));
                mFilterOptions.AddTo(app);
                CLI::Option* const pTail =
                    app.add_option("--tail,-n", mTail, "The last N records only; not with -m, -A, -B or -C")
                        ->option_text("N")
                        ->check(RefuseNoCount);
                app.add_option("--head,-m", mHead, "The first N records only")
                    ->option_text("N")
                    ->check(RefuseNoCount)
                    ->excludes(pTail);
                app.add_flag("--count,-c", mCounts, "Prints how many records there are, and not the records")
                    ->option_text(" ");
                app.add_flag("--quiet,-q", mIsQuiet, "Prints nothing; the exit code says whether there is one")
                    ->option_text(" ");
                AddContextOptions(app);
                for (char const* const option :
                    {"--head", "--count", "--quiet", "--before-context", "--after-context", "--context"})
                    app.get_option("--cursor-file")->excludes(option);
                for (char const* const option : {"--before-context", "--after-context", "--context"})
                    pTail->excludes(option);
                CLI::Option* const pJson = app.add_flag("--json", mIsJson, "Prints one JSON object a record");
                app.add_flag("--otlp", mIsOtlp, "Prints one record of OTLP in JSON a line, for OpenTelemetry")
                    ->option_text(" ")
                    ->excludes(pJson->option_text(" "));
                ShowDefault(TakeOneOf(app.add_option("--color", mColor, "Colours"), {"auto", "always", "never"}))
                    ->option_text("WHEN");
                app.add_flag(
                    "--no-pager", mHasNoPager, "Shows records on a terminal without QZLOG_PAGER, PAGER or less");
            }

            ExitCode Run() override
            {
                if (mGrowing.mBrokers.mBrokers.empty() && mInput.mPaths.empty())
                    throw Trouble("LOG is required, or --brokers (see qzlog view --help)");
                if (mBefore || mAfter)
                    mContext.emplace(mBefore.value_or(0), mAfter.value_or(0), GetMost());
                RecordFilter filter(mFilterOptions, mContext.has_value());
                bool const hasTerminal = isatty(STDERR_FILENO) == 1; // which a pager takes
                if (!mHasNoPager && !mGrowing.mFollows && !mCounts && !mIsQuiet)
                    Pager::Start();
                Troubles troubles;
                Progress progress;
                Output output(&progress);
                // Whoever looks at a pipe sees what it has brought.
                progress.CallBeforeWaits([&output] { output.Flush(); });
                std::uint64_t const count =
                    mGrowing.IsAskedFor() ? PrintGrowing(filter, progress, troubles, output)
                                          : Print(TakeTail(mInput.Open(filter, progress, troubles)), filter, output);
                if (mContext && mContext->GetLeftOut() != 0)
                    troubles.Report(
                        Trouble("records before a match were left out (" + std::to_string(mContext->GetLeftOut()) +
                                "), since they have more than 16 MB; ask for fewer with --before-context"));
                if (mCounts && !mIsQuiet)
                    output.Write(std::to_string(count) + '\n');
                output.Flush();
                if (troubles.HasAny() && !(mIsQuiet && count != 0))
                    return ExitCode::Trouble;
                if (count == 0 && !mCounts && !mIsQuiet && hasTerminal)
                    ExplainNothing();
                return count != 0 ? ExitCode::Success : ExitCode::Negative;
            }

        private:
            void AddContextOptions(CLI::App& app)
            {
                auto const add = [this, &app](char const* name, char const* description, bool isBefore, bool isAfter)
                {
                    auto const take = [=, this](std::uint64_t const& count)
                    {
                        if (isBefore)
                            mBefore = count;
                        if (isAfter)
                            mAfter = count;
                    };
                    app.add_option_function<std::uint64_t>(name, take, description)
                        ->option_text("N")
                        ->check(RefuseNoCount);
                };
                // The two that come later overrule the first, in whatever order they are given.
                add("--context,-C", "Also N records before and after each, of all logs", true, true);
                add("--before-context,-B", "Also N records before each", true, false);
                add("--after-context,-A", "Also N records after each", false, true);
            }

            /// For whoever sits at the terminal: a misspelt name finds as little as a server without errors.
            void ExplainNothing() const
            {
                bool const hasNames = !mFilterOptions.mLoggers.empty() || !mFilterOptions.mDispatchers.empty();
                std::fprintf(stderr, "qzlog: no record was found%s\n",
                    hasNames ? "; 'qzlog stats --by logger --by dispatcher' lists the names that there are" : "");
            }

            /// One look, or look after look until the end is asked for. Returns how many records there were.
            std::uint64_t PrintGrowing(RecordFilter& filter, Progress& progress, Troubles& troubles, Output& output)
            {
                std::unique_ptr<CursorFile> const pCursor = mGrowing.OpenCursor();
                std::unique_ptr<GrowingSources> const pSources =
                    mGrowing.Open(mInput, mFilterOptions, filter, pCursor.get(), troubles);
                auto const wrap = [&](std::unique_ptr<RecordSource> pSource)
                {
                    return std::make_unique<GuardedSource>(
                        std::make_unique<FilteredSource>(std::move(pSource), filter), progress, troubles);
                };
                Follower follower(*pSources, wrap, [&](Trouble const& trouble) { troubles.Report(trouble); });
                auto const remember = [&]
                {
                    if (!pCursor)
                        return;
                    pCursor->Syncs() ? output.Sync() : output.Flush();
                    pCursor->Save(follower.GetPositions());
                };
                if (mGrowing.mFollows)
                    EndRequest::Listen();
                // The last records of all cannot be shown before all are read, and are shown once.
                bool const takesTail = mTail && (!pCursor || pCursor->IsNew());
                std::uint64_t count = takesTail ? Print(TakeTail(follower.Look()), filter, output)
                                                : Print(follower.Look(), filter, output, 0, remember);
                remember();
                while (mGrowing.mFollows && !IsDone(count) && !EndRequest::IsMade())
                {
                    output.Flush();
                    follower.Wait();
                    count += Print(follower.Look(), filter, output, count, remember);
                    remember();
                }
                return count;
            }

            std::uint64_t GetMost() const
            {
                return mIsQuiet ? 1 : mHead.value_or(std::numeric_limits<std::uint64_t>::max());
            }

            /// Whether nothing more is to be shown after so many wanted records.
            bool IsDone(std::uint64_t count) const { return mContext ? mContext->IsDone() : count >= GetMost(); }

            /// For what there is at first; of what comes later nothing is left out.
            std::unique_ptr<RecordSource> TakeTail(std::unique_ptr<RecordSource> pSource) const
            {
                if (!mTail)
                    return pSource;
                return std::make_unique<LastRecords>(std::move(pSource), *mTail);
            }

            /// Returns how many wanted records there were.
            /// \param before  how many there were before.
            /// \param remember  is called from time to time, between two records.
            std::uint64_t Print(
                std::unique_ptr<RecordSource> pSource, RecordFilter const& filter, Output& output,
                std::uint64_t before = 0, std::function<void()> const& remember = [] {})
            {
                bool const usesUTC = mFilterOptions.mUsesUTC;
                TextPrinter text(output, filter.GetMatcher(), UsesColor(mColor, output.IsTerminal()), usesUTC);
                JsonPrinter json(output, usesUTC);
                OtlpPrinter otlp(output);
                RecordPrinter* const pPrinter = mIsJson ? static_cast<RecordPrinter*>(&json) : &text;
                RecordPrinter& printer = mIsOtlp ? otlp : *pPrinter;
                if (mContext)
                    pSource = std::make_unique<ContextSource>(std::move(pSource), *mContext);
                std::uint64_t count = before;
                for (Record record; !IsDone(count) && pSource->Next(record);)
                {
                    if (count % kRecordsAtRisk == kRecordsAtRisk - 1)
                        remember();
                    if (!mCounts && !mIsQuiet)
                        printer.Print(record, *pSource);
                    count += record.mIsWanted ? 1 : 0;
                }
                return count - before;
            }

            LogInput mInput;
            GrowingInput mGrowing;
            FilterOptions mFilterOptions;
            std::optional<std::uint64_t> mTail;
            std::optional<std::uint64_t> mHead;
            std::string mColor = "auto";
            bool mCounts = false;
            bool mIsQuiet = false;
            bool mIsJson = false;
            bool mIsOtlp = false;
            bool mHasNoPager = false;
            std::optional<std::uint64_t> mBefore;
            std::optional<std::uint64_t> mAfter;
            std::optional<Context> mContext;
        };
    }

    std::unique_ptr<Command> MakeViewCommand()
    {
        return std::make_unique<ViewCommand>();
    }
}
