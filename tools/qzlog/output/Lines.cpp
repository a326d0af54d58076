#include "output/Lines.h"

#include "Characters.h"
#include "reading/ByteScan.h"

#include <QzBase/Conversions.h>

#include <utf8.h>

#include <algorithm>
#include <cstdint>

namespace QzLogTool
{
    namespace
    {
        /// How many bytes the character takes that a text begins with; 1 when they are no UTF-8.
        std::size_t MeasureCharacter(std::string_view text)
        {
            unsigned char const lead = static_cast<unsigned char>(text[0]);
            std::size_t const length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            std::string_view const rest = text.substr(1, length - 1);
            bool const isWhole = rest.size() == length - 1 && std::all_of(rest.begin(), rest.end(), ContinuesCharacter);
            return isWhole ? length : 1;
        }

        /// What is not from the blank to the tilde.
        constexpr auto IsUnprintable = [](ByteBlock bytes, ByteBlock)
        { return (bytes < FillBlock(' ')) | (bytes > FillBlock('~')); };

        constexpr auto IsSpecialInJson = [](ByteBlock bytes, ByteBlock following)
        { return IsUnprintable(bytes, following) | (bytes == FillBlock('"')) | (bytes == FillBlock('\\')); };

        void AppendUnit(std::string& to, unsigned int unit)
        {
            constexpr char kDigits[] = "0123456789abcdef";
            to += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4)
                to += kDigits[(unit >> shift) & 0xF];
        }

        /// A quote, a backslash or what is not printable.
        void AppendEscape(std::string& to, unsigned char c)
        {
            constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
            constexpr char kLetters[] = "\"\\bfnrt";
            std::size_t const at = kShort.find(static_cast<char>(c));
            if (at != std::string_view::npos)
                (to += '\\') += kLetters[at];
            else
                AppendUnit(to, c);
        }

        /// Characters beyond ASCII, well-formed or not.
        void AppendEscapes(std::string& to, std::string_view text)
        {
            std::string mended;
            if (utf8::find_invalid(text.begin(), text.end()) != text.end())
                text = mended = MakeWellFormed(text);
            for (auto at = text.begin(); at != text.end();)
            {
                std::uint32_t const character = utf8::unchecked::next(at);
                if (character >= 0x10000)
                    AppendUnit(to, 0xD7C0 + (character >> 10));
                AppendUnit(to, character >= 0x10000 ? 0xDC00 + (character & 0x3FF) : character);
            }
        }
    }

    std::string_view TakeLine(std::string_view& text, bool& isEnded)
    {
        std::size_t const end = text.find('\n');
        isEnded = end != std::string_view::npos;
        std::string_view line = text.substr(0, end);
        text.remove_prefix(isEnded ? end + 1 : text.size());
        if (isEnded && line.ends_with('\r'))
            line.remove_suffix(1);
        return line;
    }

    void AppendLines(std::string& to, std::string_view text)
    {
        while (!text.empty())
        {
            bool isEnded;
            to += TakeLine(text, isEnded);
            if (isEnded)
                to += '\n';
        }
    }

    void AppendVisible(std::string& to, std::string_view text)
    {
        for (std::size_t i = 0; i < text.size();)
        {
            unsigned char const c = static_cast<unsigned char>(text[i]);
            std::size_t const length = MeasureCharacter(text.substr(i));
            // U+0080 to U+009F steer some terminals too, and as bytes of their own those that do not read UTF-8.
            unsigned char const last = static_cast<unsigned char>(text[i + length - 1]);
            bool const isC1 = (length == 1 || (length == 2 && c == 0xC2)) && last >= 0x80 && last < 0xA0;
            if ((c < 0x20 && c != '\t') || c == 0x7F)
                (to += '^') += static_cast<char>(c ^ 0x40);
            else if (isC1)
                (to += "^[") += static_cast<char>(last - 0x40);
            else
                to += text.substr(i, length);
            i += length;
        }
    }

    bool IsPlain(std::string_view text)
    {
        char const* const end = text.data() + text.size();
        return FindByte(text.data(), end, IsUnprintable) == end;
    }

    bool IsPlainInJson(std::string_view text)
    {
        char const* const end = text.data() + text.size();
        return FindByte(text.data(), end, IsSpecialInJson) == end;
    }

    std::string MakeWellFormed(std::string_view text)
    {
        std::string copy;
        for (char const c : text)
            if (c == '\0')
                copy += "\xE2\x90\x80";
            else
                copy += c;
        if (utf8::find_invalid(copy) == std::string::npos)
            return copy;
        return QzBase::WideCharToUTF8(QzBase::UTF8ToWideChar(copy.c_str(), true).c_str(), true).c_str();
    }

    void AppendJson(std::string& to, std::string_view text)
    {
        char const* const end = text.data() + text.size();
        for (char const* at = text.data(); at != end;)
        {
            char const* const special = FindByte(at, end, IsSpecialInJson);
            to.append(at, special);
            // Characters beyond ASCII as far as they go: what is malformed among them ends there too.
            at = std::find_if(special, end, [](char c) { return (c & 0x80) == 0; });
            AppendEscapes(to, {special, static_cast<std::size_t>(at - special)});
            if (at == special && at != end)
                AppendEscape(to, static_cast<unsigned char>(*at++));
        }
    }
}
