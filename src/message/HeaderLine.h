#pragma once

#include "support/base/KeptMemory.h"
#include "support/datatype/DateTimeText.h"

#include <QzLog/Timestamp.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

namespace QzLog
{
    /// A header's line of text, which begins with the time. Most messages of a thread differ from the previous one
    /// only in their time: then only the time is written anew.
    class HeaderLine
    {
    public:
        bool IsBuilt() const noexcept { return mIsBuilt; }

        /// The line. Call it only after the line was built.
        char const* Get() const noexcept { return mText.c_str(); }

        /// The line has to be built before it is read again.
        void Clear() noexcept
        {
            mIsBuilt = false;
            if (mText.capacity() <= QzBase::kKeptBytes)
                return;
            QzBase::EmptyAndKeepMemory(mText);
            mHasRest = false;
        }

        /// Something after the time has changed. The line still shows the old value until it is cleared.
        void ForgetRest() noexcept { mHasRest = false; }

        /// Builds the line from that time and the rest that it already has. False if it does not have the rest.
        /// \param number      of the time: TimestampText::GetNumber.
        /// \param newSeconds  the time stamp, if the seconds of `time` have just been written from it. May be null.
        bool BuildWithTime(std::string const& time, unsigned int number, Timestamp const* newSeconds) noexcept
        {
            if (!mHasRest || time.size() != mTimeLength)
                return false;
            // Not copied, since the processor stalls when it reads in one piece what it has just written in several.
            if (newSeconds && number == mTimeNumber)
                QzDataType::WriteSeconds(mText.data() + QzDataType::kSecondsPlace, *newSeconds);
            else
                std::memcpy(mText.data(), time.data(), time.size());
            mTimeNumber = number;
            return mIsBuilt = true;
        }

        /// Builds the line anew. `write` gets `bound` bytes of memory, writes the line there, the time included, and
        /// returns its end.
        template <class Write>
        void Build(std::size_t timeLength, unsigned int timeNumber, std::size_t bound, Write write)
        {
            if (mText.size() < bound + 1)
                mText.resize(std::max(bound + 1, kReservedLength));
            *write(mText.data()) = '\0';
            mTimeLength = timeLength;
            mTimeNumber = timeNumber;
            mHasRest = mIsBuilt = true;
        }

    private:
        static constexpr std::size_t kReservedLength = 256;

        /// At least as long as the line, so that another length of the line costs nothing.
        std::string mText;
        std::size_t mTimeLength = 0;
        unsigned int mTimeNumber = 0;
        bool mHasRest = false;
        bool mIsBuilt = false;
    };
}
