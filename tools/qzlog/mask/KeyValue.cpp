#include "mask/KeyValue.h"

#include "Characters.h"
#include "reading/RecordStart.h"

#include <algorithm>
#include <cstdint>

namespace QzLogTool
{
    namespace
    {
        /// A quote, and how often it is escaped: by no backslash, or in a JSON text within others by 1, 3, 7, ...
        struct Quote
        {
            char mMark = '\0';
            std::size_t mBackslashes = 0;

            bool operator==(Quote const&) const = default;
            std::size_t GetLength() const { return mBackslashes + 1; }
        };

        bool IsQuote(char c)
        {
            return c == '"' || c == '\'';
        }

        bool IsLineEnd(char c)
        {
            return c == '\r' || c == '\n';
        }

        bool IsOfName(char c)
        {
            return IsDigit(c) || IsLetter(c) || c == '_' || c == '-';
        }

        /// False when none begins there.
        bool ReadQuote(std::string_view text, std::size_t at, Quote& quote)
        {
            std::size_t const mark = std::min(text.find_first_not_of('\\', at), text.size());
            if (mark == text.size() || !IsQuote(text[mark]))
                return false;
            quote = {text[mark], mark - at};
            return true;
        }

        /// That which ends there, before a name.
        bool ReadQuoteBefore(std::string_view text, std::size_t end, Quote& quote)
        {
            if (end == 0 || !IsQuote(text[end - 1]))
                return false;
            std::size_t begin = end - 1;
            while (begin > 0 && text[begin - 1] == '\\')
                --begin;
            quote = {text[end - 1], end - 1 - begin};
            return true;
        }

        /// What can stand between a name and its value is "=", ":", "=>", ":=" and the like, with blanks.
        std::size_t SkipSigns(std::string_view text, std::size_t at)
        {
            return std::min(text.find_first_not_of(" \t:=>", at), text.size());
        }

        std::size_t SkipBlanks(std::string_view text, std::size_t at)
        {
            return std::min(text.find_first_not_of(" \t", at), text.size());
        }

        /// Whether a mark that so many backslashes precede ends a text of that quote, or one around it.
        bool EndsText(std::size_t backslashes, Quote const& quote)
        {
            // Each text around it has doubled them, and escaped the mark.
            for (std::size_t level = quote.mBackslashes; level != 0; level /= 2)
            {
                if (backslashes % 2 == 0)
                    return true;
                backslashes /= 2;
            }
            return backslashes % 2 == 0;
        }

        /// Where a text ends that begins at `at`, after its quote: before the closing one, or with the line.
        std::size_t FindTextEnd(std::string_view text, std::size_t at, Quote const& quote)
        {
            std::size_t backslashes = 0;
            for (; at < text.size() && !IsLineEnd(text[at]); ++at)
            {
                if (text[at] == quote.mMark && EndsText(backslashes, quote))
                    return at - std::min(backslashes, quote.mBackslashes);
                backslashes = text[at] == '\\' ? backslashes + 1 : 0;
            }
            return at;
        }

        bool BeginsRecordAt(std::string_view text, std::size_t at)
        {
            std::int64_t time;
            return BeginsRecord(text.substr(at, kGlance), time) != 0;
        }

        /// Behind the bracket that fits to the one at `at`; the end of its record if none does.
        std::size_t FindBracketEnd(std::string_view text, std::size_t at, Quote const& quote)
        {
            std::size_t depth = 0;
            while (at < text.size())
            {
                char const c = text[at++];
                depth += c == '{' || c == '[';
                bool const isLast = (c == '}' || c == ']') && --depth == 0;
                if (isLast)
                    return at;
                if (c == '\n' && BeginsRecordAt(text, at))
                    return at - (text[at - 2] == '\r' ? 2 : 1);
                if (c == quote.mMark)
                    at = FindTextEnd(text, at, quote);
                if (c == quote.mMark && at < text.size() && !IsLineEnd(text[at]))
                    at += quote.GetLength();
            }
            return text.size();
        }

        bool Take(std::size_t begin, std::size_t end, Secret& secret)
        {
            secret = {begin, end, std::string()};
            return begin < end;
        }

        bool TakeText(std::string_view text, std::size_t at, Quote const& quote, Secret& secret)
        {
            std::size_t const begin = at + quote.GetLength();
            return Take(begin, FindTextEnd(text, begin, quote), secret);
        }

        /// What stands after `"name":`.
        bool TakeJson(std::string_view text, std::size_t at, Quote const& quote, Secret& secret)
        {
            Quote own;
            if (ReadQuote(text, at, own))
                return TakeText(text, at, own, secret);
            bool const isBracket = at < text.size() && (text[at] == '{' || text[at] == '[');
            std::size_t const end = isBracket ? FindBracketEnd(text, at, quote)
                                              : std::min(text.find_first_of(",}] \t\r\n\"'\\", at), text.size());
            if (!Take(at, end, secret) || text.substr(at, end - at) == "null")
                return false;
            secret.mQuote = std::string(quote.mBackslashes, '\\') + quote.mMark;
            return true;
        }

        /// What stands after `name=`.
        bool TakeParameter(std::string_view text, std::size_t at, Secret& secret)
        {
            Quote quote;
            if (ReadQuote(text, at, quote))
                return TakeText(text, at, quote, secret);
            std::size_t const stop = std::min(text.find_first_of("&; \t\r\n\"", at), text.size());
            std::size_t end = stop;
            if (stop < text.size() && text[stop] == '"')
                while (end > at && text[end - 1] == '\\')
                    --end;
            return Take(at, end, secret);
        }

        /// What stands after `Name:`.
        bool TakeHeader(std::string_view text, std::size_t at, Secret& secret)
        {
            Quote quote;
            if (ReadQuote(text, at, quote))
                return TakeText(text, at, quote, secret);
            return Take(at, std::min(text.find_first_of("\r\n", at), text.size()), secret);
        }

        /// Whether the name does not go on before it. In a JSON text "\n" and the like can stand there.
        bool BeginsName(std::string_view text, std::size_t begin)
        {
            if (begin == 0 || !IsOfName(text[begin - 1]))
                return true;
            char const c = text[begin - 1];
            return begin >= 2 && text[begin - 2] == '\\' && (c == 'n' || c == 'r' || c == 't');
        }
    }

    bool FindValueOf(std::string_view text, std::size_t begin, std::size_t end, Secret& secret)
    {
        Quote quote;
        Quote closing;
        bool const isQuoted = ReadQuoteBefore(text, begin, quote) && ReadQuote(text, end, closing) && closing == quote;
        if (!isQuoted && !BeginsName(text, begin))
            return false;
        std::size_t const sign = SkipBlanks(text, isQuoted ? end + quote.GetLength() : end);
        if (sign == text.size())
            return false;
        std::size_t const value = SkipSigns(text, sign);
        switch (text[sign])
        {
        case ':':
            return isQuoted ? TakeJson(text, value, quote, secret) : TakeHeader(text, value, secret);
        case '=':
            return TakeParameter(text, value, secret);
        case '>':
        {
            bool const isElement = begin > 0 && text[begin - 1] == '<' && sign == end;
            return isElement && Take(end + 1, std::min(text.find_first_of("<\r\n", end), text.size()), secret);
        }
        default:
            return false;
        }
    }
}
