#include "stats/TimeSlots.h"

#include <iterator>

namespace QzLogTool
{
    namespace
    {
        constexpr std::int64_t kSecond = 1000;
        constexpr std::int64_t kMinute = 60 * kSecond;
        constexpr std::int64_t kHour = 60 * kMinute;
        constexpr std::int64_t kDay = 24 * kHour;

        // Each is a multiple of the one before it, so that slots can be put together. Behind the last they double.
        constexpr std::int64_t kWidths[] = {kSecond, 5 * kSecond, 10 * kSecond, 30 * kSecond, kMinute, 5 * kMinute,
            10 * kMinute, 30 * kMinute, kHour, 2 * kHour, 6 * kHour, 12 * kHour, kDay, 7 * kDay, 28 * kDay};
        constexpr std::int64_t kMostGrowing = 40;
        constexpr std::int64_t kMostWithEmpty = 1000;

        std::int64_t FindStart(std::int64_t time, std::int64_t width)
        {
            std::int64_t const rest = time % width;
            return time - (rest < 0 ? rest + width : rest);
        }
    }

    TimeSlots::TimeSlots(std::int64_t width) : mIsGrowing(width == 0), mWidth(mIsGrowing ? kWidths[0] : width) {}

    void TimeSlots::Add(std::int64_t time)
    {
        if (!mpLast || time < mpLast->first || time >= mpLast->first + mWidth)
            mpLast = &*mCounts.try_emplace(FindStart(time, mWidth)).first;
        ++mpLast->second;
        while (mIsGrowing && GetDistance() >= kMostGrowing)
            Widen();
    }

    /// From the first slot to the last, in slots.
    std::int64_t TimeSlots::GetDistance() const
    {
        return (mCounts.rbegin()->first - mCounts.begin()->first) / mWidth;
    }

    void TimeSlots::Widen()
    {
        ++mStep;
        mWidth = mStep < std::size(kWidths) ? kWidths[mStep] : mWidth * 2;
        std::map<std::int64_t, std::uint64_t> wider;
        for (auto const& [start, count] : mCounts)
            wider[FindStart(start, mWidth)] += count;
        mCounts = std::move(wider);
        mpLast = nullptr;
    }

    std::vector<std::pair<std::int64_t, std::uint64_t>> TimeSlots::GetSlots() const
    {
        std::vector<std::pair<std::int64_t, std::uint64_t>> slots;
        bool const showsEmpty = !mCounts.empty() && GetDistance() < kMostWithEmpty;
        for (auto const& slot : mCounts)
        {
            while (showsEmpty && !slots.empty() && slots.back().first + mWidth < slot.first)
                slots.emplace_back(slots.back().first + mWidth, 0);
            slots.push_back(slot);
        }
        return slots;
    }
}
