#pragma once

// What the tests of the debug output and of the event log share.

#include "os/Calls.h"
#include "os/posix/Kernel.h"
#include "support/ForkedChild.h"

#include <algorithm>
#include <cstdio>

#include <poll.h>

namespace OutputTest
{
    using QzOs::gCalls;
    using QzOs::Posix::gKernel;

    /// Runs `body` in a child process, with `standardError` as its own unless that is negative; returns how it ended.
    inline int RunInChild(int standardError, void (*body)())
    {
        // What is left in the buffer could meet the child's limit of file sizes.
        std::fflush(stdout);
        return ::RunInChild(
            [=]
            {
                if (standardError >= 0)
                    dup2(standardError, STDERR_FILENO);
                body();
                std::fflush(stdout);
                return testing::Test::HasFailure() ? 1 : 0;
            });
    }

    /// What can be read until the other end is closed, or until nothing is there if reading does not wait.
    inline std::string ReadAll(int descriptor)
    {
        std::string all;
        char piece[65536];
        for (ssize_t size; (size = read(descriptor, piece, sizeof(piece))) > 0;)
            all.append(piece, static_cast<std::size_t>(size));
        return all;
    }

    /// The time for which a message has waited, without waiting. A signal comes after 0.6 seconds.
    inline std::int64_t gWaited = 0;

    inline void CountWaits()
    {
        gCalls.mpGetMonotonicNanoseconds = [] { return gWaited; };
        gCalls.mpSleep = [](unsigned int milliseconds) { gWaited += milliseconds * 1'000'000; };
        gKernel.mpPoll = [](pollfd* descriptors, nfds_t count, int milliseconds)
        {
            int const result = poll(descriptors, count, 0);
            if (result != 0 || milliseconds == 0)
                return result;
            gCalls.mpSleep(static_cast<unsigned int>(std::min(milliseconds, 600)));
            errno = EINTR;
            return milliseconds > 600 ? -1 : 0;
        };
    }

    constexpr std::int64_t kSecond = 1'000'000'000;
}
