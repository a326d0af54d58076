#include "mask/Masker.h"

#include <QzLog/Masking.h>

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr char kHTTP[] = "--http";

        std::uint64_t CountTexts(std::string_view text, std::string_view part)
        {
            std::uint64_t count = 0;
            for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; at += part.size())
                ++count;
            return count;
        }
    }

    void Masker::AddAttribute(std::string const& name)
    {
        mMasks.push_back({"--attribute", name, nullptr});
    }

    void Masker::AddHTTP()
    {
        mMasks.push_back({kHTTP, std::string(), nullptr});
    }

    void Masker::Add(std::string const& kind, std::unique_ptr<SecretFinder> pFinder)
    {
        mMasks.push_back({kind, std::string(), std::move(pFinder)});
    }

    std::string Masker::Mask(std::string text)
    {
        for (OneMask& mask : mMasks)
            text = mask.mpFinder ? ReplaceFound(mask, text) : ReplaceByLibrary(mask, text);
        return text;
    }

    std::string Masker::ReplaceFound(OneMask& mask, std::string const& text) const
    {
        std::string masked;
        std::size_t from = 0;
        for (Secret secret; mask.mpFinder->Find(text, from, secret); from = secret.mEnd)
        {
            bool const isMasked = text.compare(secret.mBegin, secret.mEnd - secret.mBegin, mMask) == 0;
            masked.append(text, from, secret.mBegin - from);
            if (isMasked)
                masked += mMask;
            else
                ((masked += secret.mQuote) += mMask) += secret.mQuote;
            mask.mCount += !isMasked;
        }
        return masked.append(text, from);
    }

    /// These masks take texts that end with a zero byte; input that holds some is masked piece by piece. They do not
    /// count: a value that was replaced is a mask in quotes that was not there before.
    std::string Masker::ReplaceByLibrary(OneMask& mask, std::string const& text) const
    {
        bool const isHTTP = mask.mKind == kHTTP;
        std::string masked;
        for (std::size_t start = 0;;)
        {
            std::size_t const end = text.find('\0', start);
            std::string const piece = text.substr(start, end - start);
            masked +=
                isHTTP ? QzLog::ReplaceSensitiveMessageInHTTP(piece.c_str()).c_str()
                       : QzLog::ReplaceSensitiveMessage(piece.c_str(), mask.mAttribute.c_str(), mMask.c_str()).c_str();
            if (end == std::string::npos)
                break;
            masked += '\0';
            start = end + 1;
        }
        std::string const sign = isHTTP ? "\"***\"" : ' ' + mask.mAttribute + "=\"" + mMask + '"';
        std::uint64_t const before = CountTexts(text, sign);
        mask.mCount += std::max(CountTexts(masked, sign), before) - before;
        return masked;
    }

    std::string Masker::GetReport() const
    {
        std::vector<std::pair<std::string, std::uint64_t>> kinds;
        std::uint64_t total = 0;
        for (OneMask const& mask : mMasks)
        {
            total += mask.mCount;
            auto const at = std::find_if(
                kinds.begin(), kinds.end(), [&mask](auto const& kind) { return kind.first == mask.mKind; });
            if (at == kinds.end())
                kinds.emplace_back(mask.mKind, mask.mCount);
            else
                at->second += mask.mCount;
        }
        std::string report = std::to_string(total) + (total == 1 ? " value was replaced" : " values were replaced");
        char const* separator = " (";
        for (auto const& [kind, count] : kinds)
        {
            report += separator + kind + ' ' + std::to_string(count);
            separator = ", ";
        }
        return report + ')';
    }
}
