#include "following/ChangeWatch.h"

#include "following/EndRequest.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        constexpr int kMomentMilliseconds = 10;
        constexpr int kLongestMilliseconds = 1000;
    }

    ChangeWatch::ChangeWatch(std::vector<std::string> const& logPaths)
        : mDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        for (std::string const& logPath : logPaths)
        {
            std::filesystem::path const path(logPath);
            std::string const folder = path.has_parent_path() ? path.parent_path() : ".";
            auto const isFolder = [&folder](Folder const& other) { return other.mPath == folder; };
            if (std::none_of(mFolders.begin(), mFolders.end(), isFolder))
                mFolders.push_back({folder, -1});
            mNames.push_back(path.filename());
        }
        WatchFolders();
    }

    ChangeWatch::~ChangeWatch()
    {
        close(mDescriptor);
    }

    /// Folders that are not there, or cannot be watched, are tried again each time.
    void ChangeWatch::WatchFolders()
    {
        for (Folder& folder : mFolders)
            if (folder.mWatch < 0)
                folder.mWatch = inotify_add_watch(
                    mDescriptor, folder.mPath.c_str(), IN_MODIFY | IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM);
    }

    void ChangeWatch::Wait()
    {
        WatchFolders();
        // Others may write to the same folders all the time: the second is then over a little earlier.
        for (int rest = kLongestMilliseconds; rest > 0; rest -= kLongestMilliseconds / 10)
        {
            if (!EndRequest::Wait(mDescriptor, rest))
                return;
            EndRequest::Wait(-1, kMomentMilliseconds);
            if (TakeEvents())
                return;
        }
    }

    /// Takes what has happened until now; whether any of it was about a log.
    bool ChangeWatch::TakeEvents()
    {
        bool isOurs = false;
        alignas(inotify_event) std::array<char, 16384> buffer;
        for (;;)
        {
            ssize_t const count = read(mDescriptor, buffer.data(), buffer.size());
            if (count <= 0)
                return isOurs;
            for (std::size_t at = 0; at < static_cast<std::size_t>(count);)
            {
                inotify_event event;
                std::memcpy(&event, buffer.data() + at, sizeof event);
                std::string_view const name(event.len == 0 ? "" : buffer.data() + at + sizeof event);
                isOurs = isOurs || (event.mask & (IN_IGNORED | IN_Q_OVERFLOW)) != 0 ||
                         std::find(mNames.begin(), mNames.end(), name) != mNames.end();
                for (Folder& folder : mFolders)
                    if ((event.mask & IN_IGNORED) != 0 && folder.mWatch == event.wd)
                        folder.mWatch = -1;
                at += sizeof event + event.len;
            }
        }
    }
}
