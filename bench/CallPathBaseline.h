#pragma once

#include "Calls.h"

#include <atomic>
#include <cstddef>

// The least hand-written code that does what the log path of a message does. In a translation unit of its own,
// so that each call is a real call, as a call into a library is.

namespace Baseline
{
    struct Switch
    {
        std::atomic<bool> mEnabled{false};
    };

    /// A log call that nobody receives: one relaxed byte read in a function call.
    void LogDisabled(Switch const& switchedOff, char const* text, char const* file, char const* function, int line);

    class Sink
    {
    public:
        virtual ~Sink() = default;
        virtual void Write(char const* header, std::size_t headerLength, char const* body) = 0;
    };

    /// Writes the header line of a message of this moment into `buffer` (of 512 bytes); returns its length.
    std::size_t FormatHeader(char* buffer);

    /// A log call that one sink receives.
    void LogEnabled(Switch const& switchedOn, Sink& sink, char const* text);

    /// The same for messages that differ.
    void LogCall(Switch const& switchedOn, Sink& sink, CallPath::Call const& call, char const* text);
}
