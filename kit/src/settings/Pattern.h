#pragma once

#include <compare>
#include <string>
#include <string_view>

namespace QzLogKit
{
    /// A name in which "*" stands for any text. Ordered by exactness, the most exact first: one without "*", then the
    /// one with more other characters, then by bytes.
    class Pattern
    {
    public:
        explicit Pattern(std::string text);

        std::string const& GetText() const { return mText; }
        bool Matches(std::string_view name) const;

        std::strong_ordering operator<=>(Pattern const&) const = default; // NOLINT(modernize-use-nullptr)
        bool operator==(Pattern const&) const = default;

    private:
        // In the order in which they are compared.
        bool mHasStar;
        std::ptrdiff_t mMissingCharacters;
        std::string mText;
    };
}
