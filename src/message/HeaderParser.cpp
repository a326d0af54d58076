#include "message/MessageHeader_Impl.h"

#include "support/base/Ascii.h"

#include <QzBase/Conversions.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

// Reads a header text back. All scanning is our own: it depends on no locale.

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kMaxFileLength = 255;
        constexpr std::size_t kMaxFunctionLength = 127;

        class Scanner
        {
        public:
            explicit Scanner(char const* text) noexcept : mpText(text) {}

            char const* GetPosition() const noexcept { return mpText; }

            bool Skip(std::string_view prefix) noexcept
            {
                if (std::strncmp(mpText, prefix.data(), prefix.size()) != 0)
                    return false;
                mpText += prefix.size();
                return true;
            }

            void SkipWhiteSpace() noexcept
            {
                while (QzBase::IsWhiteSpace(*mpText))
                    ++mpText;
            }

            /// The text up to the first `delimiter`, which is skipped. False when there is none.
            bool ReadField(char const* delimiter, std::string& field)
            {
                char const* const end = std::strstr(mpText, delimiter);
                if (!end)
                    return false;
                field.assign(mpText, end);
                mpText = end + std::strlen(delimiter);
                return true;
            }

            /// The text for as long as `belongs` holds for its characters, but at most `maximum` of them. False when
            /// there are none.
            template <class Predicate>
            bool ReadWhile(Predicate&& belongs, std::size_t maximum, std::string_view& field) noexcept
            {
                char const* const start = mpText;
                while (*mpText && belongs(*mpText) && static_cast<std::size_t>(mpText - start) < maximum)
                    ++mpText;
                field = std::string_view(start, static_cast<std::size_t>(mpText - start));
                return !field.empty();
            }

            /// A decimal number with an optional sign; beyond the ends of `int` the nearer end.
            bool ReadNumber(int& number) noexcept
            {
                bool const isNegative = *mpText == '-';
                if (*mpText == '-' || *mpText == '+')
                    ++mpText;
                if (!QzBase::IsDigit(*mpText))
                    return false;
                std::int64_t const limit = isNegative ? -std::int64_t{INT_MIN} : INT_MAX;
                std::int64_t value = 0;
                for (; QzBase::IsDigit(*mpText); ++mpText)
                {
                    if (value <= limit)
                        value = value * 10 + (*mpText - '0');
                }
                value = value < limit ? value : limit;
                number = static_cast<int>(isNegative ? -value : value);
                return true;
            }

        private:
            char const* mpText;
        };

        struct SourceLocation
        {
            std::string_view mFile;
            std::string_view mFunction;
            int mLine = 0;
        };

        /// "[file:function at line:42", with any white space, or none, for each blank. What is too long is not cut:
        /// it does not scan. On failure the scanner is anywhere.
        bool ReadSourceLocation(Scanner& scanner, SourceLocation& source) noexcept
        {
            bool const hasNames = scanner.Skip("[") &&
                                  scanner.ReadWhile([](char c) { return c != ':'; }, kMaxFileLength, source.mFile) &&
                                  scanner.Skip(":");
            if (!hasNames)
                return false;
            scanner.SkipWhiteSpace();
            if (!scanner.ReadWhile(
                    [](char c) { return !QzBase::IsWhiteSpace(c); }, kMaxFunctionLength, source.mFunction))
                return false;
            scanner.SkipWhiteSpace();
            if (!scanner.Skip("at"))
                return false;
            scanner.SkipWhiteSpace();
            if (!scanner.Skip("line:"))
                return false;
            scanner.SkipWhiteSpace();
            return scanner.ReadNumber(source.mLine);
        }

        /// A bracket that may be absent. False only when it is there and does not end.
        bool ReadOptionalBracket(Scanner& scanner, std::string_view opening, std::string& field)
        {
            return !scanner.Skip(opening) || scanner.ReadField("]", field);
        }
    }

    unsigned int MessageHeader_Impl::ParseHeaderText(char const* text)
    {
        // A failure on the way leaves this object as it was.
        MessageHeader_Impl parsed;
        unsigned int const timeLength = parsed.SetTimestampString(text);
        if (timeLength == 0)
            return 0;

        Scanner scanner(text + timeLength);
        std::string processID;
        std::string threadID;
        std::string dispatcherName;
        std::string messageID;
        bool const isRead = scanner.Skip(" [HOST:") && scanner.ReadField("][SERVER:", parsed.mHostName) &&
                            scanner.ReadField("][PID:", parsed.mServerName) && scanner.ReadField("][THR:", processID) &&
                            scanner.ReadField("][", threadID) && scanner.ReadField("][", parsed.mLoggerName) &&
                            scanner.ReadField("]", dispatcherName) && ReadOptionalBracket(scanner, "[0x", messageID) &&
                            ReadOptionalBracket(scanner, "[UID:", parsed.mUserID) &&
                            ReadOptionalBracket(scanner, "[SID:", parsed.mSessionID) &&
                            ReadOptionalBracket(scanner, "[OID:", parsed.mObjectID);
        if (!isRead)
            return 0;
        parsed.SetProcessIDString(processID.c_str());
        parsed.SetThreadIDString(threadID.c_str());
        parsed.SetDispatcherName(dispatcherName.c_str());
        parsed.SetMessageIDString(messageID.c_str());

        char const* end = scanner.GetPosition();
        SourceLocation source;
        if (ReadSourceLocation(scanner, source))
        {
            parsed.mSourceFile = source.mFile;
            parsed.mSourceFunction = source.mFunction;
            parsed.mSourceLine = source.mLine;
            char const* const closing = std::strchr(end, ']');
            end = closing ? closing + 1 : scanner.GetPosition();
        }

        std::swap(static_cast<MessageHeaderFields&>(*this), static_cast<MessageHeaderFields&>(parsed));
        return static_cast<unsigned int>(end - text);
    }
}
