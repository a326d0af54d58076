#include "message/HeaderScanner.h"

#include "support/base/Ascii.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kMaxFileLength = 255;
        constexpr std::size_t kMaxFunctionLength = 127;

        // Literals of a length that the compiler knows: their comparison takes most of the time otherwise.

        /// Removes `what` from the start of `text`. False if it is not there.
        template <std::size_t Size>
        bool Skip(std::string_view& text, char const (&what)[Size]) noexcept
        {
            constexpr std::size_t kLength = Size - 1;
            if (text.size() < kLength || std::memcmp(text.data(), what, kLength) != 0)
                return false;
            text.remove_prefix(kLength);
            return true;
        }

        /// Takes the text before the first `end`, and removes both from `text`. False if there is no `end`.
        template <std::size_t Size>
        bool TakeUpTo(std::string_view& text, char const (&end)[Size], std::string_view& taken) noexcept
        {
            constexpr std::size_t kLength = Size - 1;
            std::string_view const whole = text;
            for (std::size_t at = 0; (at = text.find(end[0])) != std::string_view::npos;)
            {
                text.remove_prefix(at);
                if (Skip(text, end))
                {
                    taken = whole.substr(0, whole.size() - text.size() - kLength);
                    return true;
                }
                text.remove_prefix(1);
            }
            return false;
        }

        /// A bracket that may be absent. False only if it is there and has no end.
        template <std::size_t Size>
        bool TakeOptional(std::string_view& text, char const (&opening)[Size], std::string_view& taken) noexcept
        {
            taken = std::string_view();
            return !Skip(text, opening) || TakeUpTo(text, "]", taken);
        }

        /// Takes the characters for which `belongs` holds, but at most `maximum` of them. False when there are none.
        template <class Predicate>
        bool TakeWhile(
            std::string_view& text, Predicate const& belongs, std::size_t maximum, std::string_view& taken) noexcept
        {
            std::size_t const most = std::min(text.size(), maximum);
            std::size_t length = 0;
            while (length < most && belongs(text[length]))
                ++length;
            taken = text.substr(0, length);
            text.remove_prefix(length);
            return length != 0;
        }

        void SkipWhiteSpace(std::string_view& text) noexcept
        {
            while (!text.empty() && QzBase::IsWhiteSpace(text[0]))
                text.remove_prefix(1);
        }

        /// A decimal number with an optional sign; the nearest `int` if it does not fit.
        bool TakeNumber(std::string_view& text, int& number) noexcept
        {
            bool const isNegative = text.starts_with('-');
            if (isNegative || text.starts_with('+'))
                text.remove_prefix(1);
            if (text.empty() || !QzBase::IsDigit(text[0]))
                return false;
            std::int64_t const limit = isNegative ? -std::int64_t{INT_MIN} : INT_MAX;
            std::int64_t value = 0;
            for (; !text.empty() && QzBase::IsDigit(text[0]); text.remove_prefix(1))
            {
                if (value <= limit)
                    value = value * 10 + (text[0] - '0');
            }
            value = std::min(value, limit);
            number = static_cast<int>(isNegative ? -value : value);
            return true;
        }

        /// "[file:function at line:42", with any white space, or none, for each blank. Fails for names that are too
        /// long. `text` is then at any position.
        bool TakeSourceLocation(std::string_view& text, HeaderFields& fields) noexcept
        {
            auto const isNoColon = [](char c) { return c != ':'; };
            auto const isNoWhiteSpace = [](char c) { return !QzBase::IsWhiteSpace(c); };
            if (!Skip(text, "[") || !TakeWhile(text, isNoColon, kMaxFileLength, fields.mSourceFile) || !Skip(text, ":"))
                return false;
            SkipWhiteSpace(text);
            if (!TakeWhile(text, isNoWhiteSpace, kMaxFunctionLength, fields.mSourceFunction))
                return false;
            SkipWhiteSpace(text);
            if (!Skip(text, "at"))
                return false;
            SkipWhiteSpace(text);
            if (!Skip(text, "line:"))
                return false;
            SkipWhiteSpace(text);
            return TakeNumber(text, fields.mSourceLine);
        }
    }

    std::size_t ScanHeader(std::string_view text, HeaderFields& fields) noexcept
    {
        std::string_view rest = text;
        bool const isRead = Skip(rest, " [HOST:") && TakeUpTo(rest, "][SERVER:", fields.mHost) &&
                            TakeUpTo(rest, "][PID:", fields.mServer) && TakeUpTo(rest, "][THR:", fields.mProcess) &&
                            TakeUpTo(rest, "][", fields.mThread) && TakeUpTo(rest, "][", fields.mLogger) &&
                            TakeUpTo(rest, "]", fields.mDispatcher) && TakeOptional(rest, "[0x", fields.mMessageID) &&
                            TakeOptional(rest, "[UID:", fields.mUser) && TakeOptional(rest, "[SID:", fields.mSession) &&
                            TakeOptional(rest, "[OID:", fields.mObject);
        if (!isRead)
            return 0;

        std::string_view end = rest;
        if (TakeSourceLocation(rest, fields))
        {
            // Without its bracket the location ends after the number.
            std::string_view location;
            end = TakeUpTo(end, "]", location) ? end : rest;
        }
        else
        {
            fields.mSourceFile = fields.mSourceFunction = std::string_view();
            fields.mSourceLine = 0;
        }
        return text.size() - end.size();
    }
}
