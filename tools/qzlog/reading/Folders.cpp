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

        struct Found
        {
            std::set<std::string> mLogs;
            /// There are folders that were not looked into.
            bool mPassesFolders = false;
            bool mHasTrouble = false;
        };

        void AddIfLog(std::string const& path, std::set<std::string>& logs)
        {
            std::string log;
            unsigned int number;
            if (IsLog(path))
                logs.insert(SplitBackupPath(path, log, number) ? log : path);
        }

        void Collect(fs::path const& folder, bool isRecursive, Troubles& troubles, Found& found)
        {
            std::error_code error;
            for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            {
                std::error_code unknown;
                if (entry->is_regular_file(unknown))
                    AddIfLog(entry->path(), found.mLogs);
                else if (!entry->is_directory(unknown) || entry->is_symlink(unknown))
                    continue;
                else if (isRecursive)
                    Collect(*entry, isRecursive, troubles, found);
                else
                    found.mPassesFolders = true;
            }
            if (!error)
                return;
            troubles.Report(MakeSystemTrouble(folder, error.value()));
            found.mHasTrouble = true;
        }
    }

    std::vector<std::string> FindLogs(std::string const& folder, bool isRecursive, Troubles& troubles)
    {
        Found found;
        Collect(folder, isRecursive, troubles, found);
        if (found.mLogs.empty() && !found.mHasTrouble)
            throw Trouble(folder + ": is a folder without a log" +
                          (found.mPassesFolders ? "; --recursive looks into its folders too" : ""));
        return {found.mLogs.begin(), found.mLogs.end()};
    }
}
