#include "stats/MessageKind.h"

#include "Characters.h"

#include <algorithm>
#include <array>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kLongestKind = 200;

        // Shorter words of hexadecimal digits alone are more often words.
        constexpr std::size_t kShortestHex = 4;

        enum : unsigned char
        {
            kIsWord = 1,
            kIsHex = 2,
            kIsDigit = 4
        };

        constexpr auto kClasses = []
        {
            std::array<unsigned char, 256> classes{};
            for (unsigned int i = 0; i < classes.size(); ++i)
            {
                char const c = static_cast<char>(i);
                bool const isHex = IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
                classes[i] = static_cast<unsigned char>((IsDigit(c) || IsLetter(c) || i >= 0x80 ? kIsWord : 0) |
                                                        (isHex ? kIsHex : 0) | (IsDigit(c) ? kIsDigit : 0));
            }
            return classes;
        }();

        unsigned int Classify(char c)
        {
            return kClasses[static_cast<unsigned char>(c)];
        }

        bool IsWordCharacter(char c)
        {
            return (Classify(c) & kIsWord) != 0;
        }

        /// Moves a text behind the word that it begins with, and appends what that word has in common with others.
        void TakeWord(std::string& kind, std::string_view& line)
        {
            std::size_t length = 0;
            unsigned int any = 0;
            unsigned int all = kIsHex;
            for (unsigned int found; length < line.size() && ((found = Classify(line[length])) & kIsWord) != 0;
                 ++length)
            {
                any |= found;
                all &= length == 1 && (line[1] == 'x' || line[1] == 'X') && line[0] == '0' ? all : found;
            }
            std::string_view const word = line.substr(0, std::min(length, kLongestKind));
            line.remove_prefix(length);
            bool const hasPrefix = word.starts_with("0x") || word.starts_with("0X");
            if ((any & kIsDigit) == 0)
                kind += word;
            else if ((all & kIsHex) != 0 && (hasPrefix || word.size() >= kShortestHex))
                kind += 'N';
            else
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
        std::string_view line = message.substr(0, message.find('\n'));
        line = line.substr(0, line.find('\r'));
        kind.clear();
        while (!line.empty() && kind.size() < kLongestKind)
            if (IsWordCharacter(line[0]))
                TakeWord(kind, line);
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
