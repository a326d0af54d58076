#include "reading/Needle.h"

#include "Characters.h"
#include "reading/ByteScan.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        char ToLower(char c)
        {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
        }

        /// The more, the seldomer a byte is in logs, about.
        std::size_t GetRarity(char c)
        {
            constexpr std::string_view kFrequent = " etaoinsrhldcumfpgwybv0123456789:]";
            return std::min(kFrequent.find(c), kFrequent.size());
        }
    }

    Needle::Needle(std::string text, bool ignoresCase) : mText(std::move(text)), mIgnoresCase(ignoresCase)
    {
        if (!mIgnoresCase)
            return;
        std::transform(mText.begin(), mText.end(), mText.begin(), ToLower);
        auto const getRarity = [this](std::size_t at) { return GetRarity(mText[at]) + GetRarity(mText[at + 1]); };
        for (std::size_t at = 1; at + 1 < mText.size(); ++at)
            if (getRarity(at) > getRarity(mRare))
                mRare = at;
    }

    char const* Needle::FindIn(std::string_view text) const
    {
        if (mIgnoresCase)
            return FindInAnyCase(text);
        return static_cast<char const*>(memmem(text.data(), text.size(), mText.data(), mText.size()));
    }

    char const* Needle::FindInAnyCase(std::string_view text) const
    {
        if (text.size() < mText.size())
            return nullptr;
        char const first = mText[mRare];
        char const second = mText[mRare + 1];
        auto const getCaseBit = [](char c) { return IsLetter(c) ? '\x20' : '\0'; };
        ByteBlock const firstCase = FillBlock(getCaseBit(first));
        ByteBlock const secondCase = FillBlock(getCaseBit(second));
        ByteBlock const firstBytes = FillBlock(first);
        ByteBlock const secondBytes = FillBlock(second);
        auto const isPair = [&](ByteBlock bytes, ByteBlock following)
        { return ((bytes | firstCase) == firstBytes) & ((following | secondCase) == secondBytes); };

        // Both bytes stand in front of it, and the rest has its room before and behind them.
        char const* const end = text.data() + text.size() - (mText.size() - mRare - 2);
        for (char const* at = text.data() + mRare; (at = FindByte(at, end, isPair)) < end; ++at)
        {
            char const* const begin = at - mRare;
            if (std::equal(mText.begin(), mText.end(), begin, [](char a, char b) { return a == ToLower(b); }))
                return begin;
        }
        return nullptr;
    }
}
