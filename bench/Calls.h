#pragma once

#include <cstddef>
#include <cstring>
#include <iterator>

// The messages of the benchmarks: one that is logged again and again, and four that differ as those of a server do.

namespace CallPath
{
    constexpr char const* kText = "Report 4711 of user alice finished after 128 ms";

    /// One of four calls that differ in all that a header shows: router, source location, message ID and user.
    struct Call
    {
        char const* mpLogger;
        char const* mpDispatcher;
        unsigned int mMessageID; // 0 for a text
        char const* mpUser;
        char const* mpFile;
        char const* mpFunction;
        int mLine;

        /// The header of an error shows the source location.
        bool IsError() const { return std::strcmp(mpDispatcher, "Error") == 0; }
    };

    constexpr Call kCalls[] = {{"Kernel", "Info", 0, "alice", "src/kernel/Scheduler.cpp", "Dispatch", 118},
        {"Reports", "Error", 0x2A0001, "bob", "src/reports/Writer.cpp", "Flush", 42},
        {"Kernel", "Error", 0, "carol", "src/kernel/Session.cpp", "Close", 1207},
        {"Reports", "Info", 0x2A0002, "dave", "src/reports/Report.cpp", "Finish", 365}};
    constexpr std::size_t kCallCount = std::size(kCalls);
}
