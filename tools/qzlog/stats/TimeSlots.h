#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace QzLogTool
{
    /// How many records there are in each slot of time. Times are milliseconds since 1970-01-01 00:00 in local time,
    /// so that slots begin on its full minutes, hours and days.
    class TimeSlots
    {
    public:
        /// \param width  of a slot in milliseconds; 0 for one that grows with the time to cover, so that there are at
        ///               most 40 slots.
        explicit TimeSlots(std::int64_t width);

        void Add(std::int64_t time);

        std::int64_t GetWidth() const { return mWidth; }

        /// Start and count of each slot, in order of time. Empty slots are there if that makes 1000 at most.
        std::vector<std::pair<std::int64_t, std::uint64_t>> GetSlots() const;

    private:
        void Widen();
        std::int64_t GetDistance() const;

        bool const mIsGrowing;
        std::size_t mStep = 0;
        std::int64_t mWidth;
        std::map<std::int64_t, std::uint64_t> mCounts;
        // The slot of the last record: the next one is often in the same.
        std::pair<std::int64_t const, std::uint64_t>* mpLast = nullptr;
    };
}
