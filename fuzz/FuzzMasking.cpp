// Attribute name, mask and text: both masks against a slow and plain model, which first notes all values and then
// replaces them from the last to the first.

#include "Fuzz.h"

#include <QzLog/Masking.h>

#include <QzBase/Conversions.h>
#include <QzResource/Localizer.h>

#include <optional>
#include <vector>

namespace
{
    struct Range
    {
        std::size_t mBegin;
        std::size_t mEnd;
    };

    /// `find`(position) gives the next value, if there is one.
    template <class Find>
    std::string ReplaceAll(std::string text, std::string const& mask, Find find)
    {
        std::vector<Range> ranges;
        for (std::optional<Range> range = find(0); range; range = find(range->mEnd + 1))
            ranges.push_back(*range);
        for (auto range = ranges.rbegin(); range != ranges.rend(); ++range)
            text.replace(range->mBegin, range->mEnd - range->mBegin, mask);
        return text;
    }

    /// The position after the next `piece`; npos if there is none, or `pos` is npos.
    std::size_t Behind(std::string const& text, std::string const& piece, std::size_t pos)
    {
        std::size_t const found = text.find(piece, pos);
        return found == text.npos ? text.npos : found + piece.size();
    }

    std::string MaskAttribute(std::string const& text, std::string const& name, std::string const& mask)
    {
        return ReplaceAll(text, mask,
            [&](std::size_t pos) -> std::optional<Range>
            {
                std::size_t const begin = Behind(text, ' ' + name + "=\"", pos);
                std::size_t const end = text.find('"', begin);
                return end == text.npos ? std::nullopt : std::optional(Range{begin, end});
            });
    }

    std::size_t FindClosingQuote(std::string const& text, std::size_t pos)
    {
        while (pos < text.size())
        {
            std::size_t const escaped = text.find("\\\"", pos);
            std::size_t const quote = text.find('"', pos);
            if (escaped == text.npos || quote < escaped)
                return quote;
            pos = escaped + 2;
        }
        return text.npos;
    }

    std::string MaskHTTP(std::string const& text, std::string const& tag)
    {
        return ReplaceAll(text, "***",
            [&](std::size_t pos) -> std::optional<Range>
            {
                std::size_t const colon = Behind(text, ":", Behind(text, '"' + tag + '"', pos));
                std::size_t const begin = Behind(text, "\"", colon);
                std::size_t const end = FindClosingQuote(text, begin);
                return end == text.npos ? std::nullopt : std::optional(Range{begin, end});
            });
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [name, mask, text] = Fuzz::TakeTexts<3>(data, size);
    std::string const expected = MaskAttribute(text, name, mask);
    Fuzz::Check(expected == QzLog::ReplaceSensitiveMessage(text.c_str(), name.c_str(), mask.c_str()).c_str(),
        "attribute values are masked as in the model");
    QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text.c_str(), false);
    Fuzz::Check(expected == QzLog::ReplaceSensitiveMessage(wide.c_str(), name.c_str(), mask.c_str()).c_str(),
        "wide text is masked like narrow text");
    Fuzz::Check(
        MaskHTTP(text, QzResource::REST_TAG_PASSWORD) == QzLog::ReplaceSensitiveMessageInHTTP(text.c_str()).c_str(),
        "passwords are masked as in the model");
    return 0;
}
