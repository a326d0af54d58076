#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Bytes to look for in many texts.
    class Needle
    {
    public:
        /// The empty one, which is everywhere.
        Needle() = default;

        explicit Needle(std::string text) : mText(std::move(text)) {}

        /// With `ignoresCase`, the case of ASCII letters does not count; such a one has at least two bytes.
        Needle(std::string text, bool ignoresCase);

        bool IsEmpty() const { return mText.empty(); }
        std::size_t GetSize() const { return mText.size(); }

        /// The first place in a text where the bytes stand; null when there is none.
        char const* FindIn(std::string_view text) const;

        bool IsIn(std::string_view text) const { return FindIn(text) != nullptr; }

    private:
        char const* FindInAnyCase(std::string_view text) const;

        // In lower case when that does not count.
        std::string mText;
        bool mIgnoresCase = false;
        // Where in it two bytes begin that texts seldom have.
        std::size_t mRare = 0;
    };
}
