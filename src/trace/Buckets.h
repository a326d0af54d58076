#pragma once

#include <map>

namespace QzLog
{
    /// Merges each item of each bucket into the sum by `merge`(item of the sum, item). An item that the sum does not
    /// have yet starts with the defaults of its type.
    template <class Figures, class Merge>
    void AddBuckets(Figures& sum, std::map<unsigned long, Figures> const& buckets, Merge merge)
    {
        for (auto const& [bucketKey, figures] : buckets)
        {
            for (auto const& [key, item] : figures)
                merge(sum[key], item);
        }
    }
}
