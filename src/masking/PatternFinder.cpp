#include "masking/PatternFinder.h"

#include <algorithm>
#include <cstring>

namespace
{
    constexpr std::size_t kLongestPlace = 255;

    unsigned char HashOfPair(char const* second) noexcept
    {
        auto const low = static_cast<unsigned char>(second[0]);
        auto const high = static_cast<unsigned char>(second[-1]);
        return static_cast<unsigned char>(low + 8U * high);
    }
}

namespace QzLog
{
    PatternFinder::PatternFinder(std::string&& pattern)
        : mPattern(std::move(pattern)), mLastPlace(std::min(mPattern.size() - 1, kLongestPlace))
    {
        char const* const suffix = mPattern.data() + (mPattern.size() - 1 - mLastPlace);
        for (std::size_t place = 1; place < mLastPlace; ++place)
            mPlaces[HashOfPair(suffix + place)] = static_cast<unsigned char>(place);

        unsigned char& placeOfLast = mPlaces[HashOfPair(suffix + mLastPlace)];
        mStepBehindCandidate = mLastPlace - placeOfLast;
        placeOfLast = static_cast<unsigned char>(mLastPlace);
    }

    std::size_t PatternFinder::Find(std::string_view text, std::size_t from) const noexcept
    {
        std::size_t const lastOfPattern = mPattern.size() - 1;
        if (text.size() - from <= lastOfPattern)
            return kNotFound;

        char const* const end = text.data() + text.size();
        char const* last = text.data() + from + lastOfPattern;
        for (;;)
        {
            std::size_t place = mPlaces[HashOfPair(last)];
            // This loop takes nearly all of the time: its step does not depend on what it reads.
            while (place == 0)
            {
                if (static_cast<std::size_t>(end - last) <= mLastPlace)
                    return kNotFound;
                last += mLastPlace;
                place = mPlaces[HashOfPair(last)];
            }

            std::size_t step = mLastPlace - place;
            if (step == 0)
            {
                char const* const candidate = last - lastOfPattern;
                if (std::memcmp(candidate, mPattern.data(), mPattern.size()) == 0)
                    return static_cast<std::size_t>(candidate - text.data());
                step = mStepBehindCandidate;
            }
            if (static_cast<std::size_t>(end - last) <= step)
                return kNotFound;
            last += step;
        }
    }
}
