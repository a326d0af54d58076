#include <QzLog/Masking.h>

#include "masking/MaskedText.h"
#include "masking/SensitiveTags.h"

#include <QzResource/Localizer.h>

namespace
{
    constexpr std::string_view kMask = "***";
    constexpr std::size_t kNotFound = std::string_view::npos;

    // The next such character at or after `start`. In most bodies it is at `start` itself, where a comparison
    // is cheaper than a search.
    std::size_t FindNear(std::string_view text, char character, std::size_t start)
    {
        return start < text.size() && text[start] == character ? start : text.find(character, start);
    }

    // The quote that ends the JSON string whose content begins at `start`. A quote directly after a
    // backslash of the content is escaped. Each byte is read once.
    std::size_t FindClosingQuote(std::string_view text, std::size_t start)
    {
        std::size_t quote = text.find('"', start);
        while (quote != kNotFound && quote > start && text[quote - 1] == '\\')
        {
            start = quote + 1;
            quote = text.find('"', start);
        }
        return quote;
    }

    // Masks the values of one tag. Every search starts where the one before it ended, and the first one
    // that finds nothing ends the walk.
    void MaskTag(QzLog::PatternFinder const& finder, std::string_view text, QzLog::MaskedText& masked)
    {
        std::size_t pos = 0;
        while ((pos = finder.Find(text, pos)) != kNotFound)
        {
            std::size_t const colon = FindNear(text, ':', pos + finder.GetPattern().size());
            if (colon == kNotFound)
                return;
            std::size_t const openingQuote = FindNear(text, '"', colon + 1);
            if (openingQuote == kNotFound)
                return;
            std::size_t const closingQuote = FindClosingQuote(text, openingQuote + 1);
            if (closingQuote == kNotFound)
                return;
            masked.Replace(openingQuote + 1, closingQuote);
            pos = closingQuote + 1;
        }
    }
}

namespace QzLog
{
    void InitHTTPSensitiveTagVector()
    {
        gHTTPSensitiveTags.Append(QzResource::REST_TAG_PASSWORD);
    }

    QzBase::ReturnString ReplaceSensitiveMessageInHTTP(char const* text)
    {
        if (!gHTTPSensitiveTags.GetFirst())
            InitHTTPSensitiveTagVector();

        std::string_view current = text ? text : "";
        std::string result;
        bool isMasked = false;
        for (SensitiveTag const* tag = gHTTPSensitiveTags.GetFirst(); tag;
             tag = tag->mpNext.load(std::memory_order_acquire))
        {
            MaskedText masked(current, kMask);
            MaskTag(tag->mFinder, current, masked);
            if (!masked.HasRange())
                continue;
            result = std::move(masked).Finish();
            current = result;
            isMasked = true;
        }
        if (!isMasked)
            result = current;
        return QzBase::ReturnString(std::move(result));
    }
}
