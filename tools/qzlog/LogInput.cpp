#include "LogInput.h"

#include "GuardedSource.h"
#include "Options.h"
#include "filter/FilteredSource.h"
#include "reading/Backups.h"
#include "reading/Folders.h"
#include "reading/Merger.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        // Of all logs together, unless there are thousands.
        constexpr std::size_t kBuffers = std::size_t{24} << 20;
        constexpr std::size_t kSmallestBlock = std::size_t{16} << 10;

        /// For those who are used to grep: what is named first is no text to search for.
        Trouble Advise(Trouble const& trouble, std::string const& path)
        {
            bool const mayBeText = path.find_first_of("./-") == path.npos && !GetFileStatus(path).mExists;
            return mayBeText ? Trouble(std::string(trouble.what()) + "; --text searches for a text") : trouble;
        }
    }

    std::unique_ptr<RecordSplitter> OpenLog(
        std::string const& path, LogBytes::Files files, Progress& progress, std::size_t block)
    {
        auto bytes = std::make_unique<LogBytes>(path, files);
        progress.AddTotal(bytes->GetTotal());
        bytes->SetObserver(&progress);
        return std::make_unique<RecordSplitter>(std::move(bytes), block);
    }

    CLI::Option& LogInput::AddTo(CLI::App& app)
    {
        CLI::Option* const pLogs = app.add_option("LOG", mPaths,
                                          "Logs, and folders of logs; each log is read with its back-ups, the oldest "
                                          "first. - is standard input")
                                       ->required()
                                       ->check(RefuseEmpty)
                                       ->option_text(" ");
        app.add_flag("--recursive,-r", mIsRecursive, "Of a folder also the logs in its folders");
        // A text of its own keeps the help from listing what excludes what in the column of names.
        app.add_flag("--no-backups", mIsWithoutBackups, "Reads the named files alone")->option_text(" ");
        return *pLogs;
    }

    std::vector<std::string> LogInput::FindPaths(Troubles& troubles) const
    {
        std::vector<std::string> paths;
        for (std::string const& path : mPaths)
            try
            {
                bool const isFolder = path != "-" && GetFileStatus(path).mIsFolder;
                std::vector<std::string> const logs =
                    isFolder ? FindLogs(path, mIsRecursive, troubles) : std::vector{path};
                paths.insert(paths.end(), logs.begin(), logs.end());
            }
            catch (Trouble const& trouble)
            {
                troubles.Report(trouble);
            }
        return mIsWithoutBackups ? paths : WithoutRepetitions(paths);
    }

    std::unique_ptr<RecordSource> LogInput::Open(RecordFilter& filter, Progress& progress, Troubles& troubles) const
    {
        std::vector<std::unique_ptr<RecordSource>> sources;
        std::vector<std::string> const paths = FindPaths(troubles);
        std::size_t const share = kBuffers / std::max<std::size_t>(paths.size(), 1);
        std::size_t const block = std::clamp(share, kSmallestBlock, RecordSplitter::kBlock);
        AllowManyFiles();
        for (std::string const& path : paths)
            try
            {
                std::unique_ptr<RecordSplitter> reader =
                    OpenLog(path, GetFiles(LogBytes::Files::WithBackups), progress, block);
                reader->SetNeedle(filter.GetNeedle());
                auto filtered = std::make_unique<FilteredSource>(std::move(reader), filter);
                sources.push_back(std::make_unique<GuardedSource>(std::move(filtered), progress, troubles));
            }
            catch (Trouble const& trouble)
            {
                troubles.Report(Advise(trouble, path));
            }
        if (sources.size() == 1)
            return std::move(sources.front());
        return std::make_unique<Merger>(std::move(sources));
    }
}
