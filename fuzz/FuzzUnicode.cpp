// Any bytes as UTF-8 and as UTF-16: names and paths come back as they were, texts on their way out are well-formed.

#include "Fuzz.h"

#include <QzBase/Conversions.h>

namespace
{
    std::string ToUTF8(QzBase::WideString const& text, bool forOutput)
    {
        return QzBase::WideCharToUTF8(text.c_str(), forOutput).c_str();
    }

    QzBase::WideString ToWide(std::string const& text, bool forOutput)
    {
        return QzBase::UTF8ToWideChar(text.c_str(), forOutput).c_str();
    }

    bool IsSurrogate(unsigned short unit, unsigned int first)
    {
        return unit >= first && unit < first + 0x400U;
    }

    // The number of characters; ends the run at a lone surrogate unless they are `allowed`.
    std::size_t CountCharacters(QzBase::WideString const& text, bool allowed)
    {
        std::size_t count = 0;
        for (std::size_t i = 0; i < text.size(); ++i, ++count)
        {
            bool const isPair = IsSurrogate(text[i], 0xD800) && i + 1 < text.size() && IsSurrogate(text[i + 1], 0xDC00);
            if (isPair)
                ++i;
            else
                Fuzz::Check(allowed || (text[i] & 0xF800) != 0xD800, "no lone surrogate");
        }
        return count;
    }

    void CheckNarrow(std::string const& text)
    {
        Fuzz::Check(ToUTF8(ToWide(text, false), false) == text, "bytes come back");
        QzBase::WideString const wide = ToWide(text, true);
        CountCharacters(wide, false);
        Fuzz::Check(ToWide(ToUTF8(wide, true), true) == wide, "well-formed text comes back");
    }

    void CheckWide(QzBase::WideString const& text)
    {
        std::string const bytes = ToUTF8(text, false);
        Fuzz::Check(ToUTF8(ToWide(bytes, false), false) == bytes, "the bytes of a name come back");
        std::string const wellFormed = ToUTF8(text, true);
        Fuzz::Check(ToUTF8(ToWide(wellFormed, true), true) == wellFormed, "UTF-8 on its way out is well-formed");

        std::string const narrow = QzBase::WideCharToASCII(text.c_str(), true).c_str();
        Fuzz::Check(narrow.size() == CountCharacters(text, true), "one ASCII character for each character");
        Fuzz::Check(std::all_of(narrow.begin(), narrow.end(), [](char c) { return c > 0; }), "ASCII only");
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [text] = Fuzz::TakeTexts<1>(data, size);
    CheckNarrow(text);

    QzBase::WideString wide;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        wide += static_cast<unsigned short>(data[i] | data[i + 1] << 8);
    CheckWide(wide.c_str());
    return 0;
}
