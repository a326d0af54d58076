#pragma once

namespace QzLog
{
    /// Where a log call stands in its source. The texts are not copied: they must outlive the call.
    struct SourceLocation
    {
        /// UTF-8, zero-terminated; both may be null.
        char const* mpFileName;
        char const* mpFunctionName;
        int mLineNumber;
    };
}
