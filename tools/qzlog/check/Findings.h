#pragma once

#include <string_view>

namespace QzLogTool
{
    /// What can be found in a log.
    enum class Finding
    {
        NoHead,
        HeadWithin,
        Cut,
        Loose,
        Header,
        LineEnd,
        Bytes,
        Backwards,
        Repeated,
        MissingBackup,

        // The rest is no fault.
        LookAlike,
        Leftover,
        Missed
    };

    constexpr bool IsFault(Finding finding)
    {
        return finding < Finding::LookAlike;
    }

    /// What it means and what to do, in sentences.
    std::string_view Explain(Finding finding);

    /// What to do when messages were missed for that reason, as the log gives it.
    std::string_view ExplainMissed(std::string_view reason);
}
