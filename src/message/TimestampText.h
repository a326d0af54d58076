#pragma once

#include "support/datatype/DateTimeText.h"

#include <QzLog/Timestamp.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace QzLog
{
    /// Writes the text form of a time stamp; see QzDataType::WriteDateTime.
    inline char* WriteTimestamp(char* out, Timestamp const& timestamp) noexcept
    {
        return QzDataType::WriteDateTime(
            out, timestamp, timestamp.mOffsetIsPositive, timestamp.mOffsetHours, timestamp.mOffsetMinutes);
    }

    /// The text form of a time stamp that changes with every message: within a minute only its seconds are written
    /// anew.
    class TimestampText
    {
    public:
        /// The time stamp has changed.
        void Clear() noexcept { mIsBuilt = false; }

        bool IsBuilt() const noexcept { return mIsBuilt; }

        /// Changes with the text, except for its seconds.
        unsigned int GetNumber() const noexcept { return mNumber; }

        /// Keeps this text for the present time stamp.
        void Assign(char const* text, std::size_t length)
        {
            ++mNumber;
            mMinute = {};
            mText.assign(text, length);
            mIsBuilt = true;
        }

        /// The text of the present time stamp.
        std::string const& Get(Timestamp const& timestamp)
        {
            if (!mIsBuilt)
                Build(timestamp);
            return mText;
        }

    private:
        /// All of a time stamp but its seconds. No time stamp is like a new one of these: the first month is 1.
        struct Minute
        {
            std::uint64_t mTime = 0;
            std::uint64_t mOffset = 0;

            bool operator==(Minute const&) const = default;
        };

        static Minute GetMinute(Timestamp const& timestamp) noexcept
        {
            auto const part = [](int value, int shift) { return static_cast<std::uint64_t>(value) << shift; };
            return {part(timestamp.GetYear(), 32) | part(timestamp.GetMonth(), 24) | part(timestamp.GetDay(), 16) |
                        part(timestamp.GetHour(), 8) | part(timestamp.GetMinute(), 0),
                part(timestamp.mOffsetHours, 24) | part(timestamp.mOffsetMinutes, 8) |
                    part(timestamp.mOffsetIsPositive, 0)};
        }

        void Build(Timestamp const& timestamp)
        {
            Minute const minute = GetMinute(timestamp);
            if (minute == mMinute)
            {
                QzDataType::WriteSeconds(mText.data() + QzDataType::kSecondsPlace, timestamp);
            }
            else
            {
                char text[QzDataType::kMaxDateTimeText];
                mText.assign(text, WriteTimestamp(text, timestamp));
                mMinute = minute;
                ++mNumber;
            }
            mIsBuilt = true;
        }

        std::string mText;
        Minute mMinute;
        unsigned int mNumber = 0;
        bool mIsBuilt = false;
    };
}
