#include "Commands.h"
#include "LogInput.h"
#include "output/JsonPrinter.h"
#include "output/TextPrinter.h"
#include "reading/LastRecords.h"

#include <limits>

namespace QzLogTool
{
    namespace
    {
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
                mInput.AddTo(app);
                mFilterOptions.AddTo(app);
                CLI::Option* const pTail =
                    app.add_option("--tail,-n", mTail, "The last N records only")->option_text("N");
                app.add_option("--head,-m", mHead, "The first N records only")->option_text("N")->excludes(pTail);
                app.add_flag("--count,-c", mCounts, "Prints how many records there are, and not the records");
                app.add_flag("--quiet,-q", mIsQuiet, "Prints nothing; the exit code tells whether there is one");
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
                std::unique_ptr<RecordSource> pSource = mInput.Open(filter, progress, troubles);
                if (mTail)
                    pSource = std::make_unique<LastRecords>(std::move(pSource), *mTail);
                Output output(&progress);
                std::uint64_t const count = Print(*pSource, filter, output);
                output.Flush();
                if (troubles.HasAny() && !(mIsQuiet && count != 0))
                    return ExitCode::Trouble;
                return count != 0 ? ExitCode::Success : ExitCode::Negative;
            }

        private:
            /// Returns how many records there were.
            std::uint64_t Print(RecordSource& source, RecordFilter const& filter, Output& output) const
            {
                TextPrinter text(output, filter.GetMatcher(), UsesColor(mColor, output.IsTerminal()));
                JsonPrinter json(output);
                RecordPrinter& printer = mIsJson ? static_cast<RecordPrinter&>(json) : text;
                std::uint64_t const most = mIsQuiet ? 1 : mHead.value_or(std::numeric_limits<std::uint64_t>::max());
                std::uint64_t count = 0;
                Record record;
                for (; count < most && source.Next(record); ++count)
                    if (!mCounts && !mIsQuiet)
                        printer.Print(record, source);
                if (mCounts && !mIsQuiet)
                    output.Write(std::to_string(count) + '\n');
                return count;
            }

            LogInput mInput;
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
