#pragma once

#include <QzResource/MessageFormatter.h>

namespace QzResource
{
    /// Makes what the formatters of all threads hang on. Throws std::bad_alloc; the first formatter tries
    /// again.
    void PrepareThreadRings();

    /// formatter.Format of a template that is used for this once. A long one leaves no memory with the thread. Throws
    /// std::bad_alloc.
    char const* FormatOnce(MessageFormatter& formatter, char const* utf8Template);
}
