#pragma once

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// The longest text that stands in everything that a regular expression of RE2 matches, as it stands, so that it
    /// can be looked for instead where most has no match. It has no line ends. Empty when there is none, or none that
    /// is easy to see.
    std::string FindRequiredText(std::string_view expression);

    /// The longest part of a text that stands in everything that equals it but for the case of letters, when only that
    /// of ASCII letters is left out of account: characters with other cases than that are not in it. Nor are line ends.
    std::string FindCaseBlindPart(std::string_view text);
}
