#pragma once

#include <string>
#include <vector>

namespace QzLogTool
{
    /// Waits for changes of logs.
    class ChangeWatch
    {
    public:
        explicit ChangeWatch(std::vector<std::string> const& logPaths);
        ~ChangeWatch();
        ChangeWatch(ChangeWatch const&) = delete;
        ChangeWatch& operator=(ChangeWatch const&) = delete;

        /// Waits until something has happened to a file of such a name, and a moment longer, so that a busy log is
        /// looked at a hundred times a second at most; for a second at most, because some file systems do not
        /// report changes by other machines. Ends at an EndRequest.
        void Wait();

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
