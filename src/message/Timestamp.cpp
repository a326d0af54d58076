#include <QzLog/Timestamp.h>

#include "message/TimestampText.h"
#include "support/base/Ascii.h"

#include <cstdint>
#include <string>

namespace QzLog
{
    namespace
    {
        /// Reads like a 32-bit strtoul and moves `text` after the digits, if there are any. A minus wraps the number
        /// around; a number that is too large becomes the largest. Only the low 16 bits are kept.
        unsigned short ReadOffsetPart(char const*& text) noexcept
        {
            char const* position = text;
            while (QzBase::IsWhiteSpace(*position))
                ++position;
            bool const isNegative = *position == '-';
            if (*position == '-' || *position == '+')
                ++position;

            char const* const digits = position;
            std::uint64_t value = 0;
            for (; QzBase::IsDigit(*position); ++position)
            {
                if (value <= UINT32_MAX)
                    value = value * 10 + static_cast<unsigned int>(*position - '0');
            }
            if (position == digits)
                return 0;
            text = position;
            if (value > UINT32_MAX)
                return static_cast<unsigned short>(UINT32_MAX);
            return static_cast<unsigned short>(isNegative ? 0 - value : value);
        }
    }

    void Timestamp_Impl::SetToNowLocal()
    {
        SetToNow();
        int const offset = mZoneMinutes + mDaylightMinutes;
        int const distance = offset > 0 ? offset : -offset;
        mOffsetIsPositive = offset > 0;
        mOffsetHours = static_cast<unsigned short>(distance / 60);
        mOffsetMinutes = static_cast<unsigned short>(distance % 60);
    }

    QzBase::ReturnString Timestamp_Impl::ToISO8601String() const
    {
        char text[QzDataType::kMaxDateTimeText];
        return QzBase::ReturnString(std::string(text, WriteTimestamp(text, *this)));
    }

    unsigned int Timestamp_Impl::FromISO8601String(char const* text)
    {
        if (!text)
            return 0;
        Timestamp_Impl scratch;
        char const* position = text + scratch.FromString(text);
        if (*position == '+' || *position == '-')
        {
            scratch.mOffsetIsPositive = *position == '+';
            scratch.mOffsetHours = ReadOffsetPart(++position);
            if (!scratch.IsValid() || *position != ':')
                return 0;
            scratch.mOffsetMinutes = ReadOffsetPart(++position);
            if (!scratch.IsValid())
                return 0;
            int const distance = scratch.mOffsetHours * 60 + scratch.mOffsetMinutes;
            scratch.mZoneMinutes = static_cast<std::int16_t>(scratch.mOffsetIsPositive ? distance : -distance);
        }
        *this = scratch;
        return static_cast<unsigned int>(position - text);
    }

    bool Timestamp_Impl::IsValid() const noexcept
    {
        return mOffsetHours < 15 && mOffsetMinutes < 60;
    }
}
