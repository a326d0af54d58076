#pragma once

#include <QzLogKit/Export.h>

#include <string>
#include <string_view>

namespace QzLogKit
{
    // What comes from outside the program can be made to look like something else in a log: a line end and a header
    // in a text are a record that nobody wrote, an escape sequence hides a line on a terminal. These functions put a
    // visible character in the place of each such one, so that the log shows what was there:
    //
    //     QzLog::Log(*info, "Agent: %1", QzLogKit::Clean(request.GetHeader("User-Agent")));
    //
    // A program's own texts need no cleaning. May be called from any thread. They throw std::bad_alloc.

    /// A text that is to stand in a message, UTF-8 of any content: CR, LF, NUL and all other control characters but the
    /// tab become the symbols U+2400 to U+2421 (LF becomes U+240A). Control characters from U+0080 to U+009F, the
    /// separators U+2028 and U+2029 and each piece of malformed UTF-8 become U+FFFD.
    QZLOGKIT_API std::string Clean(std::string_view text);

    /// A text that is to stand in a field of a header, such as a user ID: as Clean. The tab becomes U+2409, and "]",
    /// which ends the field, becomes the wide bracket U+FF3D.
    QZLOGKIT_API std::string CleanField(std::string_view text);
}
