#pragma once

#include <string>
#include <string_view>

// Text of logs on its way to a screen or another program.

namespace QzLogTool
{
    /// Takes the first line off a text, which is not empty. A line ends with LF or CR LF, which it loses.
    /// \param isEnded  receives whether there was such an end.
    std::string_view TakeLine(std::string_view& text, bool& isEnded);

    /// Appends a text with LF for each CR LF.
    void AppendLines(std::string& to, std::string_view text);

    /// Appends a text as a terminal may see it: what could steer it ("^[" for escape) is spelt out.
    void AppendVisible(std::string& to, std::string_view text);

    /// Whether a text is printable ASCII from end to end, blanks included.
    bool IsPlain(std::string_view text);

    /// The same, and no character of it is another in JSON.
    bool IsPlainInJson(std::string_view text);

    /// UTF-8 without malformed pieces, which become U+FFFD. NUL becomes U+2400, its picture.
    std::string MakeWellFormed(std::string_view text);

    /// Appends a text as it stands between the quotes of a JSON text, in ASCII. Malformed UTF-8 becomes U+FFFD.
    void AppendJson(std::string& to, std::string_view text);
}
