#include <QzLog/Format.h>

namespace QzLog::Format
{
    constinit Manipulator const Dec = QzResource::MessageFormat::Dec;
    constinit Manipulator const Hex = QzResource::MessageFormat::Hex;
    constinit Manipulator const WideDec = QzResource::MessageFormat::Dec;
    constinit Manipulator const WideHex = QzResource::MessageFormat::WideHex;
}
