#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace QzLog
{
    /// Finds all occurrences of one pattern. The tables for the search are built once, and not again after
    /// each occurrence: in a text full of values that would take longer than the search.
    /// Immutable, so any number of threads may search with one object.
    class PatternFinder
    {
    public:
        static constexpr std::size_t kNotFound = std::string_view::npos;

        /// \param pattern  at least two bytes. Throws std::bad_alloc.
        explicit PatternFinder(std::string&& pattern);

        /// The first occurrence at or after `from`, which is at most the length of the text, or kNotFound.
        std::size_t Find(std::string_view text, std::size_t from) const noexcept;

        std::string const& GetPattern() const noexcept { return mPattern; }

    private:
        std::string mPattern;

        // Only the last bytes of a long pattern decide how far a search may jump, so that a position in them
        // fits in a byte. mLastPlace is the position of the last byte.
        std::size_t mLastPlace;

        // For each hash of two neighbouring bytes the position of the second one in their last occurrence; 0
        // if they do not occur.
        std::array<unsigned char, 256> mPlaces{};

        // How far to go on if the last two bytes match and the others do not.
        std::size_t mStepBehindCandidate;
    };
}
