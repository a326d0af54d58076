#pragma once

#include <QzBase/Export.h>

// The commands of the server. The operation traces count them and print their IDs.

namespace QzLog
{
    /// IDs of commands are 0 to kLastServerCommand. The row after them is the end mark of the table.
    inline constexpr int kLastServerCommand = 218;
    inline constexpr int kServerCommandEndMark = 219;

    /// The commands between the nodes of a cluster, both ends inclusive.
    inline constexpr int kFirstClusterCommand = 93;
    inline constexpr int kLastClusterCommand = 108;

    /// The name of a command, ASCII, or null for an ID outside 0 to kServerCommandEndMark. Valid for the
    /// life of the process. May be called from any thread; throws nothing.
    QZLOG_API char const* GetServerCommandName(int commandID) noexcept;
}
