#include "output/Lines.h"

#include <QzBase/Conversions.h>

#include <json/writer.h>

#include <algorithm>

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
            bool const isWhole = rest.size() == length - 1 &&
                                 std::all_of(rest.begin(), rest.end(), [](char c) { return (c & 0xC0) == 0x80; });
            return isWhole ? length : 1;
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

    std::string MakeWellFormed(std::string_view text)
    {
        std::string copy(text);
        // Nothing that the library wrote holds one, but a damaged file may, and texts end at it below.
        std::replace(copy.begin(), copy.end(), '\0', '\x1A');
        if (std::all_of(copy.begin(), copy.end(), [](char c) { return (c & 0x80) == 0; }))
            return copy;
        return QzBase::WideCharToUTF8(QzBase::UTF8ToWideChar(copy.c_str(), true).c_str(), true).c_str();
    }

    void AppendJson(std::string& to, std::string_view text)
    {
        std::string const quoted = Json::valueToQuotedString(MakeWellFormed(text).c_str());
        to.append(quoted, 1, quoted.size() - 2);
    }
}
