#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ReportingServer
{
    /// One request, as a line of the input holds it:
    ///
    ///     command  user  session  object  name="value" name="value" ... body={...}
    ///
    /// The four words are separated by blanks or tabs; "-" stands for none. A value ends at the next quote and has
    /// no escapes. The body, if there is one, is JSON and goes to the end of the line. All is UTF-8.
    struct Request
    {
        /// The line's number, from 1.
        unsigned int mNumber = 0;
        /// Row of the server command table.
        int mCommand = 0;
        std::string mCommandName;
        std::string mUser;
        std::string mSession;
        std::string mObject;
        std::vector<std::pair<std::string, std::string>> mAttributes;
        std::string mBody;

        /// The value of an attribute, or the empty text.
        std::string GetAttribute(std::string_view name) const;
    };

    /// The longest line that can be a request, in bytes.
    inline constexpr std::size_t kLongestLine = 65536;

    /// What a command answers: this, or the ID of the message that says why not.
    inline constexpr unsigned int kDone = 0;

    /// Whether a line is to be passed over: blank, or a comment that begins with "#".
    bool IsIdleLine(std::string_view line);

    /// Reads a line without its line end. Throws QzBase::Message with the reason; its text never repeats what the
    /// line holds, because a line that breaks the form may show a password where no mask finds it.
    Request ParseRequest(unsigned int number, std::string_view line);
}
