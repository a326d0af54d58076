#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace QzLog
{
    /// The mean of two groups of values out of their means and numbers, cut toward zero. Worked out in a
    /// type in which nothing overflows; a result beyond the ends of Integer, which only negative numbers of
    /// values can bring about, is the nearer end. If there are no values at all it is `mean`.
    /// \param count, otherCount  sums of a few `int`.
    template <class Integer>
    Integer MergeMeans(Integer mean, std::int64_t count, Integer otherMean, std::int64_t otherCount) noexcept
    {
        __extension__ using Wide = __int128;
        Wide const total = Wide{count} + otherCount;
        if (total == 0)
            return mean;
        Wide const merged = (Wide{mean} * count + Wide{otherMean} * otherCount) / total;
        return static_cast<Integer>(
            std::clamp<Wide>(merged, std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
    }

    /// Adds to a counter, which stays at an end of `int` that it would go beyond.
    inline void AddToCounter(int& counter, int added) noexcept
    {
        std::int64_t const sum = std::int64_t{counter} + added;
        counter = static_cast<int>(
            std::clamp<std::int64_t>(sum, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    }
}
