#include "stats/Durations.h"

#include <algorithm>
#include <bit>

namespace QzLogTool
{
    namespace
    {
        // One for each millisecond up to 64; then 32 for each power of two.
        constexpr std::uint64_t kExact = 64;
        constexpr unsigned int kBits = 5;
        constexpr std::uint64_t kParts = std::uint64_t{1} << kBits;
        // Some hundred years.
        constexpr std::int64_t kLongestOfAll = std::int64_t{1} << 42;

        std::size_t FindBucket(std::uint64_t value)
        {
            if (value < kExact)
                return value;
            unsigned int const shift = static_cast<unsigned int>(std::bit_width(value)) - 1 - kBits;
            return kExact + (shift - 1) * kParts + ((value >> shift) - kParts);
        }

        /// The largest value in it.
        std::uint64_t GetEnd(std::size_t bucket)
        {
            if (bucket < kExact)
                return bucket;
            std::size_t const shift = (bucket - kExact) / kParts + 1;
            std::uint64_t const part = (bucket - kExact) % kParts + kParts;
            return ((part + 1) << shift) - 1;
        }
    }

    void Durations::Add(std::int64_t milliseconds)
    {
        std::int64_t const value = std::clamp<std::int64_t>(milliseconds, 0, kLongestOfAll);
        std::size_t const bucket = FindBucket(static_cast<std::uint64_t>(value));
        if (mBuckets.size() <= bucket)
            mBuckets.resize(bucket + 1);
        ++mBuckets[bucket];
        ++mCount;
        mTotal += static_cast<double>(value);
        mLongest = std::max(mLongest, value);
    }

    std::int64_t Durations::GetPercentile(unsigned int percent) const
    {
        // The rank, rounded up, without an overflow.
        std::uint64_t rest = mCount / 100 * percent + (mCount % 100 * percent + 99) / 100;
        std::size_t bucket = 0;
        while (bucket + 1 < mBuckets.size() && mBuckets[bucket] < rest)
            rest -= mBuckets[bucket++];
        return std::min(static_cast<std::int64_t>(GetEnd(bucket)), mLongest);
    }
}
