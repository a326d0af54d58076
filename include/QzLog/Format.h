#pragma once

#include <QzBase/Export.h>
#include <QzResource/MessageFormatter.h>

/// Manipulators that a caller inserts into a message formatter to choose the form of the numbers after them:
/// `GetMessageFormatter() << Format::WideHex << code`.
namespace QzLog::Format
{
    using Manipulator = void (*)(QzResource::MessageFormatter&);

    /// Decimal.
    QZLOG_API extern Manipulator const Dec;
    /// Upper-case hexadecimal digits without prefix.
    QZLOG_API extern Manipulator const Hex;
    /// The same as Dec.
    QZLOG_API extern Manipulator const WideDec;
    /// "0x" and at least eight upper-case hexadecimal digits.
    QZLOG_API extern Manipulator const WideHex;
}
