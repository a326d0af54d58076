#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace QzLog
{
    /// Builds the masked copy of a text while the text is scanned: ranges come in ascending order, and each
    /// byte is copied once. Nothing is allocated before the first range.
    class MaskedText
    {
    public:
        /// Both have to outlive the object.
        MaskedText(std::string_view text, std::string_view mask) noexcept : mText(text), mMask(mask) {}

        /// Puts the mask in place of [begin, end), which starts at or after the end of the previous range.
        void Replace(std::size_t begin, std::size_t end)
        {
            if (!mHasRange)
            {
                // A mask is seldom much longer than the value, so this seldom grows again.
                mResult.reserve(mText.size() + mMask.size());
                mHasRange = true;
            }
            mResult.append(mText, mCopied, begin - mCopied).append(mMask);
            mCopied = end;
        }

        bool HasRange() const noexcept { return mHasRange; }

        /// The masked text. Call it once, as the last operation.
        std::string Finish() &&
        {
            mResult.append(mText, mCopied);
            return std::move(mResult);
        }

    private:
        std::string_view mText;
        std::string_view mMask;
        std::string mResult;
        std::size_t mCopied = 0;
        bool mHasRange = false;
    };
}
