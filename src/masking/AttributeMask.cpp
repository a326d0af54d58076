#include <QzLog/Masking.h>

#include "masking/MaskedText.h"
#include "masking/PatternFinder.h"

#include <QzBase/Conversions.h>

namespace
{
    std::string MakePattern(std::string_view name)
    {
        std::string pattern;
        pattern.reserve(name.size() + 3);
        return std::move(pattern.append(" ").append(name).append("=\""));
    }

    QzBase::ReturnString MaskAttribute(std::string_view text, char const* name, char const* mask)
    {
        QzLog::PatternFinder const finder(MakePattern(name));
        QzLog::MaskedText masked(text, mask ? mask : "");
        std::size_t pos = 0;
        while ((pos = finder.Find(text, pos)) != QzLog::PatternFinder::kNotFound)
        {
            std::size_t const value = pos + finder.GetPattern().size();
            std::size_t const closingQuote = text.find('"', value);
            if (closingQuote == std::string_view::npos)
                break;
            masked.Replace(value, closingQuote);
            pos = closingQuote + 1;
        }
        return QzBase::ReturnString(std::move(masked).Finish());
    }
}

namespace QzLog
{
    QzBase::ReturnString ReplaceSensitiveMessage(char const* text, char const* name, char const* mask)
    {
        return MaskAttribute(text ? text : "", name, mask);
    }

    QzBase::ReturnString ReplaceSensitiveMessage(unsigned short const* text, char const* name, char const* mask)
    {
        QzBase::ReturnString const converted = QzBase::WideCharToUTF8(text, false);
        return MaskAttribute(std::string_view(converted.c_str(), converted.size()), name, mask);
    }
}
