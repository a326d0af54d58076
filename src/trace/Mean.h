#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace QzLog
{
    /// The mean of two groups of values from their means and counts, truncated toward zero. Computed in a
    /// type that cannot overflow. A result that does not fit Integer, which only negative counts can cause,
    /// becomes the nearest Integer. If there are no values at all, the result is `mean`.
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

    /// Adds to a counter; a sum that does not fit `int` becomes the nearest `int`.
    inline void AddToCounter(int& counter, int added) noexcept
    {
        std::int64_t const sum = std::int64_t{counter} + added;
        counter = static_cast<int>(
            std::clamp<std::int64_t>(sum, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    }
}
