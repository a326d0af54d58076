#include "following/FollowedLogs.h"

#include "Trouble.h"

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

    FollowedLogs::FollowedLogs(std::vector<std::string> paths, std::string needle)
        : mPaths(std::move(paths)), mNeedle(std::move(needle)), mWatch(mPaths)
    {
        for (std::string const& path : mPaths)
            if (path == "-" || GetFileStatus(path).mIsFolder)
                throw Trouble(path + ": only files can be followed");
        AllowManyFiles();
    }

    std::vector<std::unique_ptr<GrowingSource>> FollowedLogs::FindNew()
    {
        std::vector<std::unique_ptr<GrowingSource>> sources;
        for (std::string const& path : std::exchange(mPaths, {}))
        {
            auto const tell = [path](std::string const& text)
            { std::fprintf(stderr, "qzlog: %s %s\n", path.c_str(), text.c_str()); };
            auto log = std::make_unique<FollowedLog>(path, tell);
            log->SetNeedle(mNeedle);
            sources.push_back(std::move(log));
        }
        return sources;
    }
}
