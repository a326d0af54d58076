#pragma once

#include <QzResource/MessageFormatter.h>

namespace QzResource
{
    /// Creates the storage for the formatters of all threads. Throws std::bad_alloc; the first formatter tries
    /// again.
    void PrepareThreadRings();

    /// formatter.Format of a template that is used only once. The thread keeps no memory of a long one. Throws
    /// std::bad_alloc.
    char const* FormatOnce(MessageFormatter& formatter, char const* utf8Template);
}
