#pragma once

#include "support/base/KeptMemory.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

namespace QzLog
{
    /// A header's line of text, which begins with the time. Most messages of a thread differ from the one before in
    /// their time alone: then only that is written anew.
    class HeaderLine
    {
    public:
        bool IsBuilt() const noexcept { return mIsBuilt; }

        /// The line; once it is built.
        char const* Get() const noexcept { return mText.c_str(); }

        /// The line has to be built before it is read again.
        void Clear() noexcept
        {
            mIsBuilt = false;
            if (mText.capacity() > QzBase::kKeptBytes)
                *this = HeaderLine();
        }

        /// Something behind the time is no longer what the line shows. It goes on showing that until it is cleared.
        void ForgetRest() noexcept { mHasRest = false; }

        /// Builds the line by that time and by what it holds already. False when it does not hold the rest.
        bool BuildWithTime(std::string const& time) noexcept
        {
            if (!mHasRest || time.size() != mTimeLength)
                return false;
            std::memcpy(mText.data(), time.data(), time.size());
            return mIsBuilt = true;
        }

        /// Builds the line anew. `write` gets a memory of `bound` bytes, puts the line there, the time included, and
        /// returns its end.
        template <class Write>
        void Build(std::size_t timeLength, std::size_t bound, Write write)
        {
            if (mText.size() < bound + 1)
                mText.resize(std::max(bound + 1, kReservedLength));
            *write(mText.data()) = '\0';
            mTimeLength = timeLength;
            mHasRest = mIsBuilt = true;
        }

    private:
        static constexpr std::size_t kReservedLength = 256;

        /// Longer than the line in it, so that another length costs nothing.
        std::string mText;
        std::size_t mTimeLength = 0;
        bool mHasRest = false;
        bool mIsBuilt = false;
    };
}
