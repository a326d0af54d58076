#include "HoldBack.h"

namespace QzLogKit
{
    std::string HeldBackText(std::uint64_t count, std::string_view what, QzLog::Timestamp const& since)
    {
        std::string text = "Held back " + std::to_string(count) + (count == 1 ? " message of " : " messages of ");
        text += what;
        text += " since ";
        text += QzLog::Timestamp_Impl(since).ToISO8601String().c_str();
        return text;
    }
}
