#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzDataType/DateTime.h>

namespace QzLog
{
    /// The moment of a message: date and time as the clock on the wall showed it, and that clock's distance from
    /// UTC. A value; used by one thread at a time. Differences, and DateTime::ToString, go by the zone of the DateTime,
    /// which SetToNowLocal and FromISO8601String keep in step with the members below; whoever sets the members alone
    /// changes the text form only.
    struct QZLOG_API Timestamp : QzDataType::DateTime
    {
        /// The empty date and time, 1899-12-30 00:00, at UTC.
        Timestamp() noexcept : DateTime(0.0) {}

        /// Whether the clock is ahead of UTC. False at UTC.
        bool mOffsetIsPositive = false;
        /// Hours and minutes of the distance, 0 to 14 and 0 to 59.
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

        /// Reads the text form at the start of `text`; in place of date and time it takes whatever
        /// QzDataType::DateTime::FromString takes. The numbers of the offset may have any count of digits: "+5:3" is
        /// five hours and three minutes ahead.
        /// Date and time may be missing: an offset alone gives the empty date and time with that offset.
        /// \return  how many characters it took, or 0. Without a date and time or a sign at its start a text makes this
        ///          time stamp the empty date and time, at UTC. With a sign that no offset from 00:00 to 14:59 follows,
        ///          and with null, this time stamp stays as it was.
        unsigned int FromISO8601String(char const* text);

    private:
        bool IsValid() const noexcept;
    };
}
