#pragma once

#include "support/datatype/DateTimeText.h"

#include <QzLog/Timestamp.h>

namespace QzLog
{
    /// Writes the text form of a time stamp; see QzDataType::WriteDateTime.
    inline char* WriteTimestamp(char* out, Timestamp const& timestamp) noexcept
    {
        return QzDataType::WriteDateTime(
            out, timestamp, timestamp.mOffsetIsPositive, timestamp.mOffsetHours, timestamp.mOffsetMinutes);
    }
}
