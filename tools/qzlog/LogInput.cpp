#include "LogInput.h"

#include "GuardedSource.h"
#include "filter/FilteredSource.h"
#include "reading/Backups.h"
#include "reading/Merger.h"

namespace QzLogTool
{
    std::unique_ptr<RecordSplitter> OpenLog(std::string const& path, LogBytes::Files files, Progress& progress)
    {
        auto bytes = std::make_unique<LogBytes>(path, files);
        progress.AddTotal(bytes->GetTotal());
        bytes->SetObserver(&progress);
        return std::make_unique<RecordSplitter>(std::move(bytes));
    }

    CLI::Option& LogInput::AddTo(CLI::App& app)
    {
        CLI::Option* const pLogs =
            app.add_option("LOG", mPaths, "Logs; each is read with its back-ups, the oldest first. - is standard input")
                ->required()
                ->option_text(" ");
        // A text of its own keeps the help from listing what excludes what in the column of names.
        app.add_flag("--no-backups", mIsWithoutBackups, "Reads the named files alone")->option_text(" ");
        return *pLogs;
    }

    std::vector<std::string> LogInput::GetPaths() const
    {
        return mIsWithoutBackups ? mPaths : WithoutRepetitions(mPaths);
    }

    std::unique_ptr<RecordSource> LogInput::Open(RecordFilter& filter, Progress& progress, Troubles& troubles) const
    {
        std::vector<std::unique_ptr<RecordSource>> sources;
        for (std::string const& path : GetPaths())
            try
            {
                std::unique_ptr<RecordSplitter> reader =
                    OpenLog(path, GetFiles(LogBytes::Files::WithBackups), progress);
                reader->SetNeedle(filter.GetNeedle());
                auto filtered = std::make_unique<FilteredSource>(std::move(reader), filter);
                sources.push_back(std::make_unique<GuardedSource>(std::move(filtered), progress, troubles));
            }
            catch (Trouble const& trouble)
            {
                troubles.Report(trouble);
            }
        if (sources.size() == 1)
            return std::move(sources.front());
        return std::make_unique<Merger>(std::move(sources));
    }
}
