#pragma once

#include <QzBase/Export.h>

// The commands of the server, whose numbers the operation traces count and print.

namespace QzLog
{
    /// IDs of commands are 0 to kLastServerCommand; the table's last row behind them is its end mark.
    inline constexpr int kLastServerCommand = 218;
    inline constexpr int kServerCommandEndMark = 219;

    /// The commands by which the nodes of a cluster talk to each other, both ends inclusive.
    inline constexpr int kFirstClusterCommand = 93;
    inline constexpr int kLastClusterCommand = 108;

    /// The name of a command, ASCII, or null for an ID outside 0 to kServerCommandEndMark. Valid for the
    /// life of the process. May be called from any thread; throws nothing.
    QZLOG_API char const* GetServerCommandName(int commandID) noexcept;
}
