#pragma once

#include <cstdint>

// The calls to the operating system whose effect is not in a file: clock, sleep, debug output and event
// log. They go through one table, so that a test can replace each of them; nothing of this is exported.

namespace QzOs
{
    /// What kind of event mpReportEvent reports.
    enum EventType : unsigned short
    {
        kEventSuccess = 0,
        kEventError = 1,
        kEventWarning = 2,
        kEventInformation = 4
    };

    struct Calls
    {
        /// Milliseconds since 1970-01-01 00:00 UTC.
        std::int64_t (*mpGetUTCMilliseconds)();

        /// The local zone's offset from UTC in minutes at that moment (seconds since 1970, UTC),
        /// positive ahead of UTC. Takes a lock of the process: see DateTime::Now, which calls this once per minute
        /// of the clock. (So a test that replaces this sets another minute too.)
        int (*mpGetZoneMinutes)(std::int64_t utcSeconds);

        /// Nanoseconds on a clock that never goes back.
        std::int64_t (*mpGetMonotonicNanoseconds)();

        void (*mpSleep)(unsigned int milliseconds);

        /// Writes a UTF-16 text to the debug output in one piece. Never fails.
        void (*mpWriteDebugOutput)(unsigned short const* text);

        /// Opens the system's event log under a source name (UTF-16). Null when that fails.
        void* (*mpRegisterEventSource)(unsigned short const* sourceName);

        /// Reports one event of an EventType. Failures are silent.
        void (*mpReportEvent)(void* source, unsigned short type, unsigned int eventID, unsigned short const* text);

        void (*mpDeregisterEventSource)(void* source);
    };

    /// The present table. Constant-initialised, so that static objects can use it too. A test that
    /// replaces an entry does so before other threads call it.
    extern Calls gCalls;
}
