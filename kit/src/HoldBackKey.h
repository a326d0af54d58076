#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace QzLogKit
{
    /// What has a count of its own: a pair of names or a name and a number. On the way of every message.
    class HoldBackKey
    {
    public:
        HoldBackKey(std::string_view first, std::string_view second, unsigned int number)
            : mFirst(first), mSecond(second), mNumber(number)
        {
        }

        bool operator==(HoldBackKey const&) const = default;

        /// Of a name only its end counts: there the names of files and dispatchers differ.
        std::uint64_t GetHash() const
        {
            std::uint64_t const value = (mFirst.mEnd * 31 + mSecond.mEnd) * 31 + mNumber;
            return value * 0x9E3779B97F4A7C15 >> 32;
        }

        bool IsEmpty() const { return mFirst.mText.empty() && mSecond.mText.empty() && mNumber == 0; }
        std::string_view GetFirst() const { return mFirst.mText; }
        std::string_view GetSecond() const { return mSecond.mText; }
        unsigned int GetNumber() const { return mNumber; }

    private:
        /// A text with its last eight bytes. They and the length are all of a short text.
        struct Name
        {
            Name(std::string_view text) : mText(text)
            {
                char const* const last = text.data() + text.size();
                if (text.size() >= 8)
                    mEnd = Read<std::uint64_t>(last - 8);
                else if (text.size() >= 4)
                    mEnd = std::uint64_t{Read<std::uint32_t>(last - 4)} << 32 | Read<std::uint32_t>(text.data());
                else
                    for (char const character : text)
                        mEnd = mEnd << 8 | static_cast<unsigned char>(character);
            }

            /// Into a variable of its own: bytes that are stored into a part of mEnd would be waited for.
            template <class Number>
            static Number Read(char const* bytes)
            {
                Number number;
                std::memcpy(&number, bytes, sizeof(number));
                return number;
            }

            bool operator==(Name const& other) const
            {
                return mEnd == other.mEnd && mText.size() == other.mText.size() &&
                       (mText.size() <= 8 || mText == other.mText);
            }

            std::string_view mText;
            std::uint64_t mEnd = 0;
        };

        Name mFirst;
        Name mSecond;
        unsigned int mNumber;
    };
}
