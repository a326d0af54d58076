#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzDataType/DateTime.h>

namespace QzLog
{
    /// The time of a message: local date and time, and their offset from UTC. A value; used by one thread at a time.
    /// The members below are for the text form. Differences and DateTime::ToString use the zone of the DateTime
    /// instead. SetToNowLocal and FromISO8601String set both. Setting the members alone changes only the text form.
    struct QZLOG_API Timestamp : QzDataType::DateTime
    {
        /// The empty date and time, 1899-12-30 00:00, at UTC.
        Timestamp() noexcept : DateTime(0.0) {}

        /// Whether the clock is ahead of UTC. False at UTC.
        bool mOffsetIsPositive = false;
        /// Hours and minutes of the offset, 0 to 14 and 0 to 59.
        unsigned short mOffsetHours = 0;
        unsigned short mOffsetMinutes = 0;
    };

    /// A time stamp with its text form, a profile of ISO 8601 with a blank between date and time:
    /// "2026-11-18 03:02:07.123-05:00". At UTC no offset is written.
    struct QZLOG_API Timestamp_Impl : Timestamp
    {
        Timestamp_Impl() noexcept = default;
        Timestamp_Impl(Timestamp const& other) noexcept : Timestamp(other) {}

        Timestamp_Impl& operator=(Timestamp const& other) noexcept
        {
            Timestamp::operator=(other);
            return *this;
        }

        /// Becomes the current time in the local time zone, with that zone's offset.
        void SetToNowLocal();

        /// The text form, ASCII: 23 characters, 29 with an offset. Throws std::bad_alloc.
        QzBase::ReturnString ToISO8601String() const;

        /// Reads the text form at the start of `text`:
        /// - the date and time, as QzDataType::DateTime::FromString reads them. If they are missing, the result is the
        ///   empty date and time.
        /// - an offset, if a sign follows. Its numbers may have any count of digits: "+5:3" is five hours and three
        ///   minutes ahead. Without an offset the result is at UTC.
        /// \return  the number of characters read. 0 if there is neither: this time stamp then becomes the empty date
        ///          and time, at UTC. 0 also for null, and if no offset from 00:00 to 14:59 follows the sign: this time
        ///          stamp is then unchanged.
        unsigned int FromISO8601String(char const* text);

    private:
        bool IsValid() const noexcept;
    };
}
