#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QzLogTool
{
    /// How often something took how long, in milliseconds, in at most 10 KB. Percentiles are exact below 64 ms, and
    /// above that at most 1/32 too large.
    class Durations
    {
    public:
        void Add(std::int64_t milliseconds);

        std::uint64_t GetCount() const { return mCount; }
        std::int64_t GetLongest() const { return mLongest; }
        double GetTotal() const { return mTotal; }
        double GetMean() const { return mCount != 0 ? mTotal / static_cast<double>(mCount) : 0; }

        /// What so many of a hundred did not exceed.
        std::int64_t GetPercentile(unsigned int percent) const;

    private:
        std::uint64_t mCount = 0;
        std::int64_t mLongest = 0;
        double mTotal = 0;
        // By FindBucket, as far as they are used.
        std::vector<std::uint64_t> mBuckets;
    };
}
