#pragma once

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// The longest text that is literally in everything that a regular expression of RE2 matches. A search for it can
    /// replace the expression where most records do not match. It has no line ends. Empty if there is none, or none
    /// that is easy to find.
    std::string FindRequiredText(std::string_view expression);

    /// The longest part of a text that stands in everything that equals it but for the case of letters, when only that
    /// of ASCII letters is left out of account: characters with other cases than that are not in it. Nor are line ends.
    std::string FindCaseBlindPart(std::string_view text);
}
