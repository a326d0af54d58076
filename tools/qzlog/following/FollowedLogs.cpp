#include "following/FollowedLogs.h"

#include "Trouble.h"
#include "reading/RecordSplitter.h"

#include <sys/resource.h>

#include <cstdio>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        /// Back-ups that wait to be read stay open, up to some hundred for each log.
        void AllowManyFiles()
        {
            rlimit limit;
            if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
                return;
            limit.rlim_cur = limit.rlim_max;
            setrlimit(RLIMIT_NOFILE, &limit);
        }
    }

    GrowingSource FollowLog(std::string path, FollowedBytes::Tell tell, Needle const& needle)
    {
        auto bytes = std::make_unique<FollowedBytes>(std::move(path), std::move(tell));
        FollowedBytes* const pBytes = bytes.get();
        auto splitter = std::make_unique<RecordSplitter>(std::move(bytes));
        splitter->SetNeedle(needle);
        return {std::move(splitter), pBytes};
    }

    FollowedLogs::FollowedLogs(std::vector<std::string> paths, Needle needle)
        : mPaths(std::move(paths)), mNeedle(std::move(needle)), mWatch(mPaths)
    {
        for (std::string const& path : mPaths)
            if (path == "-" || GetFileStatus(path).mIsFolder)
                throw Trouble(path + ": only files can be followed");
        AllowManyFiles();
    }

    std::vector<GrowingSource> FollowedLogs::FindNew()
    {
        std::vector<GrowingSource> sources;
        for (std::string const& path : std::exchange(mPaths, {}))
        {
            auto const tell = [path](std::string const& text)
            { std::fprintf(stderr, "qzlog: %s %s\n", path.c_str(), text.c_str()); };
            sources.push_back(FollowLog(path, tell, mNeedle));
        }
        return sources;
    }
}
