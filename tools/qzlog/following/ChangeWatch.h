#pragma once

#include <string>
#include <vector>

namespace QzLogTool
{
    /// Waits for changes of logs, and for the end. One object in a process, on the main thread. From then on SIGINT and
    /// SIGTERM ask for the end; a second one of the same kind ends the process at once.
    class ChangeWatch
    {
    public:
        explicit ChangeWatch(std::vector<std::string> const& logPaths);
        ~ChangeWatch();
        ChangeWatch(ChangeWatch const&) = delete;
        ChangeWatch& operator=(ChangeWatch const&) = delete;

        /// Waits until something has happened in a folder of the logs, and a moment longer, so that a busy log is
        /// looked at a hundred times a second at most; for a second at most, for file systems that do not tell of
        /// changes that others make.
        void Wait();

        /// Whether the end was asked for, or whoever read standard output has gone.
        static bool MustEnd();

    private:
        struct Folder
        {
            std::string mPath;
            int mWatch = -1;
        };

        void WatchFolders();
        bool TakeEvents();

        std::vector<Folder> mFolders;
        std::vector<std::string> mNames;
        int const mDescriptor;
    };
}
