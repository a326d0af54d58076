#include "stats/MessageKind.h"

#include "Characters.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kLongest = 200;

        // Shorter words of hexadecimal digits alone are more often words.
        constexpr std::size_t kShortestHex = 4;

        bool IsWordCharacter(char c)
        {
            return IsDigit(c) || IsLetter(c) || (c & 0x80) != 0;
        }

        bool IsHexDigit(char c)
        {
            return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        }

        std::string_view TakeWord(std::string_view& line)
        {
            std::size_t length = 0;
            while (length < line.size() && IsWordCharacter(line[length]))
                ++length;
            std::string_view const word = line.substr(0, length);
            line.remove_prefix(length);
            return word;
        }

        void AppendWord(std::string& kind, std::string_view word)
        {
            bool const hasPrefix = word.starts_with("0x") || word.starts_with("0X");
            bool const isHex = std::all_of(word.begin() + (hasPrefix ? 2 : 0), word.end(), IsHexDigit);
            bool const hasDigit = std::any_of(word.begin(), word.end(), IsDigit);
            if (isHex && hasDigit && (hasPrefix || word.size() >= kShortestHex))
            {
                kind += 'N';
                return;
            }
            for (std::size_t i = 0; i < word.size(); ++i)
                if (!IsDigit(word[i]))
                    kind += word[i];
                else if (i == 0 || !IsDigit(word[i - 1]))
                    kind += 'N';
        }

        /// Where a quotation ends that begins a text; 0 when none does.
        std::size_t FindQuoteEnd(std::string_view line)
        {
            bool const isQuote = line[0] == '\'' || line[0] == '"' || line[0] == '`';
            std::size_t const end = isQuote ? line.find(line[0] == '`' ? '\'' : line[0], 1) : std::string_view::npos;
            return end != std::string_view::npos ? end : 0;
        }
    }

    void MakeMessageKind(std::string_view message, std::string& kind)
    {
        std::string_view line = message.substr(0, message.find_first_of("\r\n"));
        kind.clear();
        while (!line.empty() && kind.size() < kLongest)
            if (IsWordCharacter(line[0]))
                AppendWord(kind, TakeWord(line).substr(0, kLongest));
            else
            {
                // An apostrophe stands in front of a word's end only behind the word, which was taken before.
                bool const isAfterWord = !kind.empty() && IsWordCharacter(kind.back());
                std::size_t const end = isAfterWord ? 0 : FindQuoteEnd(line);
                kind += line[0];
                if (end != 0)
                    (kind += "...") += line[end];
                line.remove_prefix(end + 1);
            }
    }
}
