#include "settings/Section.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <string_view>

namespace QzLogKit
{
    namespace
    {
        struct Language
        {
            std::string_view mName;
            unsigned short mID;
        };

        // A language alone is that of its largest country, or of the one that it is named after.
        constexpr Language kLanguages[] = {{"ar", 0x0401}, {"bg", 0x0402}, {"cs", 0x0405}, {"da", 0x0406},
            {"de", 0x0407}, {"de-AT", 0x0C07}, {"de-CH", 0x0807}, {"el", 0x0408}, {"en", 0x0409}, {"en-GB", 0x0809},
            {"en-US", 0x0409}, {"es", 0x0C0A}, {"es-MX", 0x080A}, {"fi", 0x040B}, {"fr", 0x040C}, {"fr-CA", 0x0C0C},
            {"fr-CH", 0x100C}, {"he", 0x040D}, {"hr", 0x041A}, {"hu", 0x040E}, {"it", 0x0410}, {"ja", 0x0411},
            {"ko", 0x0412}, {"nb", 0x0414}, {"nl", 0x0413}, {"pl", 0x0415}, {"pt", 0x0416}, {"pt-BR", 0x0416},
            {"pt-PT", 0x0816}, {"ro", 0x0418}, {"ru", 0x0419}, {"sk", 0x041B}, {"sl", 0x0424}, {"sv", 0x041D},
            {"th", 0x041E}, {"tr", 0x041F}, {"uk", 0x0422}, {"vi", 0x042A}, {"zh", 0x0804}, {"zh-CN", 0x0804},
            {"zh-TW", 0x0404}};

        std::optional<unsigned int> ParseNumber(std::string_view text)
        {
            int base = 10;
            if (text.starts_with("0x") || text.starts_with("0X"))
            {
                base = 16;
                text.remove_prefix(2);
            }
            unsigned int number = 0;
            auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
            if (error != std::errc() || end != text.data() + text.size())
                return std::nullopt;
            return number;
        }
    }

    std::optional<unsigned int> ToNumber(Json::Value const& value)
    {
        if (value.isString())
            return ParseNumber(value.asString());
        if (value.isUInt() && !value.isBool())
            return value.asUInt();
        return std::nullopt;
    }

    std::optional<unsigned short> ToLanguage(Json::Value const& value)
    {
        if (value.isString())
        {
            auto const found = std::ranges::find(kLanguages, std::string_view(value.asCString()), &Language::mName);
            if (found != std::end(kLanguages))
                return found->mID;
        }
        std::optional<unsigned int> const number = ToNumber(value);
        if (!number || *number == 0 || *number > std::numeric_limits<unsigned short>::max())
            return std::nullopt;
        return static_cast<unsigned short>(*number);
    }
}
