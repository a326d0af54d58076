#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QzLogTool
{
    /// How often each name was seen. Beyond 65,536 names new ones are counted together.
    class Counter
    {
    public:
        void Add(std::string_view name);

        /// In the order of the names.
        std::map<std::string, std::uint64_t, std::less<>> const& GetCounts() const { return mCounts; }

        /// The most frequent ones, the most frequent first, at most so many.
        std::vector<std::pair<std::string, std::uint64_t>> GetMost(std::size_t count) const;

    private:
        std::map<std::string, std::uint64_t, std::less<>> mCounts;
    };
}
