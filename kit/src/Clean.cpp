#include <QzLogKit/Clean.h>

#include <utf8/checked.h>
#include <utf8/unchecked.h>

#include <algorithm>
#include <iterator>

namespace QzLogKit
{
    namespace
    {
        constexpr char32_t kUnknown = 0xFFFD;
        constexpr char32_t kSymbols = 0x2400;
        constexpr char32_t kSymbolOfDelete = 0x2421;
        constexpr char32_t kWideBracket = 0xFF3D;

        enum class Use
        {
            kMessage,
            kField
        };

        char32_t Visible(char32_t character, Use use)
        {
            if (character == '\t')
                return use == Use::kField ? kSymbols + character : character;
            if (character < 0x20)
                return kSymbols + character;
            if (character == ']')
                return use == Use::kField ? kWideBracket : character;
            if (character == 0x7F)
                return kSymbolOfDelete;
            bool const isInvisible =
                (character >= 0x80 && character < 0xA0) || character == 0x2028 || character == 0x2029;
            return isInvisible ? kUnknown : character;
        }

        bool IsPlain(char character, Use use)
        {
            return (character >= 0x20 && character < 0x7F && (character != ']' || use == Use::kMessage)) ||
                   (character == '\t' && use == Use::kMessage);
        }

        std::string CleanFor(std::string_view text, Use use)
        {
            // Nearly every text is plain ASCII.
            auto const isPlain = [use](char character) { return IsPlain(character, use); };
            if (std::all_of(text.begin(), text.end(), isPlain))
                return std::string(text);

            std::string valid;
            utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid), kUnknown);
            std::string clean;
            clean.reserve(valid.size());
            for (auto at = valid.cbegin(); at != valid.cend();)
                utf8::unchecked::append(Visible(utf8::unchecked::next(at), use), std::back_inserter(clean));
            return clean;
        }
    }

    std::string Clean(std::string_view text)
    {
        return CleanFor(text, Use::kMessage);
    }

    std::string CleanField(std::string_view text)
    {
        return CleanFor(text, Use::kField);
    }
}
