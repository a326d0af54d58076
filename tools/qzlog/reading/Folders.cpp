#include "reading/Folders.h"

#include "reading/Backups.h"
#include "reading/InputFile.h"
#include "reading/RecordStart.h"

#include <filesystem>
#include <set>

namespace QzLogTool
{
    namespace
    {
        namespace fs = std::filesystem;

        /// A file that cannot be read is one: whoever reads the logs reports it.
        bool IsLog(std::string const& path)
        {
            try
            {
                return GetFileStatus(path).mIdentity.mSize == 0 || BeginsHead(InputFile(path).ReadAt(0, kGlance));
            }
            catch (Trouble const&)
            {
                return true;
            }
        }

        void AddIfLog(std::string const& path, std::set<std::string>& logs)
        {
            std::string log;
            unsigned int number;
            if (IsLog(path))
                logs.insert(SplitBackupPath(path, log, number) ? log : path);
        }

        /// Returns whether there are folders that were not looked into.
        bool Collect(fs::path const& folder, bool isRecursive, Troubles& troubles, std::set<std::string>& logs)
        {
            bool passesFolders = false;
            std::error_code error;
            for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            {
                std::error_code unknown;
                if (entry->is_regular_file(unknown))
                    AddIfLog(entry->path(), logs);
                else if (entry->is_directory(unknown) && !entry->is_symlink(unknown))
                    passesFolders = !isRecursive || Collect(*entry, isRecursive, troubles, logs) || passesFolders;
            }
            if (error)
                troubles.Report(Trouble(folder.string() + ": " + error.message()));
            return passesFolders;
        }
    }

    std::vector<std::string> FindLogs(std::string const& folder, bool isRecursive, Troubles& troubles)
    {
        std::set<std::string> logs;
        bool const passesFolders = Collect(folder, isRecursive, troubles, logs);
        if (logs.empty())
            throw Trouble(folder + ": is a folder without a log" +
                          (passesFolders ? "; --recursive looks into its folders too" : ""));
        return {logs.begin(), logs.end()};
    }
}
