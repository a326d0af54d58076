#include "following/ChangeWatch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        constexpr int kMomentMilliseconds = 10;
        constexpr int kLongestMilliseconds = 1000;

        std::atomic<bool> gIsEndAskedFor{false};
        // Written to by the handler: a signal that comes just before the waiting must not be waited through.
        constinit std::array<int, 2> gPipe{-1, -1};
        static_assert(std::atomic<bool>::is_always_lock_free);

        extern "C" void AskForEnd(int)
        {
            int const error = errno;
            gIsEndAskedFor.store(true, std::memory_order_relaxed);
            [[maybe_unused]] ssize_t const count = write(gPipe[1], "", 1);
            errno = error;
        }

        /// Leaves alone what whoever started the tool has told it to ignore.
        void Catch(int signal)
        {
            struct sigaction action;
            if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
                return;
            action = {};
            action.sa_handler = AskForEnd;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(signal, &action, nullptr);
        }

        bool IsOutputClosed()
        {
            pollfd output{STDOUT_FILENO, 0, 0};
            return poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
        }
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
        if (gPipe[0] < 0 && pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            gPipe = {-1, -1};
        Catch(SIGINT);
        Catch(SIGTERM);
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
        int rest = kLongestMilliseconds;
        while (rest > 0 && !MustEnd())
        {
            std::array<pollfd, 3> waiting{{{mDescriptor, POLLIN, 0}, {gPipe[0], POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
            int const count = poll(waiting.data(), waiting.size(), rest);
            if (count == 0 || MustEnd())
                return;
            poll(&waiting[1], 2, kMomentMilliseconds);
            // Others may write to the same folders all the time.
            rest = TakeEvents() ? 0 : rest - kMomentMilliseconds;
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

    bool ChangeWatch::MustEnd()
    {
        return gIsEndAskedFor.load(std::memory_order_relaxed) || IsOutputClosed();
    }
}
