// Four values and a template, against a plain reading of the template.

#include "Fuzz.h"

#include <QzResource/MessageFormatter.h>

#include <span>

namespace
{
    bool IsDigit(char c)
    {
        return c >= '0' && c <= '9';
    }

    std::string Expand(std::string const& text, std::span<std::string const> values)
    {
        std::string result;
        for (std::size_t i = 0; i < text.size(); ++i)
        {
            std::string const next = text.substr(i + 1, 2);
            if (text[i] != '%' || next.empty() || !(next[0] == '%' || IsDigit(next[0])) || next[0] == '0')
            {
                result += text[i];
                continue;
            }
            std::size_t const length = next[0] != '%' && next.size() == 2 && IsDigit(next[1]) ? 2 : 1;
            std::size_t const number = next[0] == '%' ? 0 : std::stoul(next.substr(0, length));
            if (number == 0)
                result += '%';
            else
                result += number <= values.size() ? values[number - 1] : '%' + next.substr(0, length);
            i += length;
        }
        return result;
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const texts = Fuzz::TakeTexts<5>(data, size);
    std::span<std::string const> const values(texts.data(), 4);
    QzResource::MessageTemplate const messageTemplate(texts[4].c_str());
    QzResource::MessageFormatter formatter;
    for (std::string const& value : values)
        formatter << value.c_str();
    Fuzz::Check(Expand(texts[4], values) == formatter.Format(messageTemplate), "values are put in as in the model");
    Fuzz::Check(Expand(texts[4], {}) == formatter.Format(messageTemplate), "a formatter is empty after use");
    return 0;
}
