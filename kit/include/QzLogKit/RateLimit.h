#pragma once

#include <chrono>

namespace QzLogKit
{
    /// At most so many messages in a period. The period begins with its first message, and the next one with the first
    /// message after it. With `mMessages` 0 all are held back. A period of 0 or less is over at once.
    struct RateLimit
    {
        unsigned int mMessages;
        std::chrono::milliseconds mPeriod;
    };
}
