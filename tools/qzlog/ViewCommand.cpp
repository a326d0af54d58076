#include "Commands.h"

#include "GrowingInput.h"
#include "GuardedSource.h"
#include "LogInput.h"
#include "filter/FilteredSource.h"
#include "following/EndRequest.h"
#include "following/Follower.h"
#include "output/JsonPrinter.h"
#include "output/TextPrinter.h"
#include "reading/LastRecords.h"

#include <functional>
#include <limits>

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
                CLI::Option* const pTail = app.add_option("--tail,-n", mTail, "The last N records only")
                                               ->option_text("N")
                                               ->check(CLI::Range(std::numeric_limits<std::int64_t>::max()));
                app.add_option("--head,-m", mHead, "The first N records only")
                    ->option_text("N")
                    ->check(CLI::Range(std::numeric_limits<std::int64_t>::max()))
                    ->excludes(pTail);
                app.add_flag("--count,-c", mCounts, "Prints how many records there are, and not the records");
                app.add_flag("--quiet,-q", mIsQuiet, "Prints nothing; the exit code says whether there is one");
                for (char const* const option : {"--head", "--count", "--quiet"})
                    app.get_option("--cursor-file")->excludes(option);
                app.add_flag("--json", mIsJson, "Prints one JSON object a record");
                app.add_option("--color", mColor, "auto, always or never")
                    ->check(CLI::IsMember({"auto", "always", "never"}))
                    ->option_text("WHEN");
            }

            ExitCode Run() override
            {
                Troubles troubles;
                Progress progress;
                RecordFilter filter(mFilterOptions);
                Output output(&progress);
                if (!mGrowing.IsAskedFor() && mInput.mPaths.empty())
                    throw Trouble("LOG is required, or --brokers (see --help)");
                std::uint64_t const count =
                    mGrowing.IsAskedFor() ? PrintGrowing(filter, progress, troubles, output)
                                          : Print(TakeTail(mInput.Open(filter, progress, troubles)), filter, output);
                if (mCounts && !mIsQuiet)
                    output.Write(std::to_string(count) + '\n');
                output.Flush();
                if (troubles.HasAny() && !(mIsQuiet && count != 0))
                    return ExitCode::Trouble;
                return count != 0 ? ExitCode::Success : ExitCode::Negative;
            }

        private:
            /// One look, or look after look until the end is asked for. Returns how many records there were.
            std::uint64_t PrintGrowing(
                RecordFilter& filter, Progress& progress, Troubles& troubles, Output& output) const
            {
                std::unique_ptr<CursorFile> const pCursor = mGrowing.OpenCursor();
                std::unique_ptr<GrowingSources> const pSources =
                    mGrowing.Open(mInput, mFilterOptions, filter, pCursor.get());
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
                while (mGrowing.mFollows && count < GetMost() && !EndRequest::IsMade())
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

            /// For what there is at first; of what comes later nothing is left out.
            std::unique_ptr<RecordSource> TakeTail(std::unique_ptr<RecordSource> pSource) const
            {
                if (!mTail)
                    return pSource;
                return std::make_unique<LastRecords>(std::move(pSource), *mTail);
            }

            /// Returns how many records there were.
            /// \param before  how many there were before.
            /// \param remember  is called from time to time, between two records.
            std::uint64_t Print(
                std::unique_ptr<RecordSource> pSource, RecordFilter const& filter, Output& output,
                std::uint64_t before = 0, std::function<void()> const& remember = [] {}) const
            {
                TextPrinter text(output, filter.GetMatcher(), UsesColor(mColor, output.IsTerminal()));
                JsonPrinter json(output);
                RecordPrinter& printer = mIsJson ? static_cast<RecordPrinter&>(json) : text;
                std::uint64_t const most = GetMost() - before;
                std::uint64_t count = 0;
                Record record;
                for (; count < most && pSource->Next(record); ++count)
                {
                    if (count % kRecordsAtRisk == kRecordsAtRisk - 1)
                        remember();
                    if (!mCounts && !mIsQuiet)
                        printer.Print(record, *pSource);
                }
                return count;
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
        };
    }

    std::unique_ptr<Command> MakeViewCommand()
    {
        return std::make_unique<ViewCommand>();
    }
}
