#pragma once

#include "stats/TextHash.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace QzLogTool
{
    /// How often each name was seen. Beyond 65,536 names, or when they take too much memory, new ones are counted
    /// together.
    class Counter
    {
    public:
        /// \param mostBytes  what the names and their counts take at most, about.
        explicit Counter(std::size_t mostBytes) : mMostBytes(mostBytes) {}

        void Add(std::string_view name);

        /// In no order.
        auto const& GetCounts() const { return mCounts; }

        /// The most frequent ones, the most frequent first, at most so many.
        std::vector<std::pair<std::string, std::uint64_t>> GetMost(std::size_t count) const;

    private:
        std::size_t const mMostBytes;
        std::size_t mBytes = 0;
        std::unordered_map<std::string, std::uint64_t, TextHash, std::equal_to<>> mCounts;
        std::pair<std::string const, std::uint64_t>* mpLast = nullptr;
    };
}
