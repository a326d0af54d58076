#pragma once

#include "destination/Losses.h"

#include <utility>

namespace QzLog
{
    /// What a disk file with basic recovery has lost, and when its file may be tried again. There is one count; a
    /// further failure begins it anew. Used by one thread at a time.
    class LossAccount
    {
    public:
        /// A failure that begins a new count; an earlier count is dropped.
        /// \param lostCount  the messages that it lost.
        void Begin(QzBase::Message const& failure, unsigned int lostCount);

        /// Whether the last failure or failed attempt is that old. True at first.
        bool IsRetryDue(unsigned int seconds) const;

        /// More messages were lost; their reason stays that of the first.
        void AddLosses(unsigned int count) noexcept;

        /// The same, by an attempt that failed: the interval starts again.
        void AddFailedAttempt(unsigned int count);

        /// For a forked child: the parent reports what was lost up to now. Time and reason of the failure stay.
        void ForgetCount() noexcept;

        bool HasLosses() const noexcept { return mLosses.mCount != 0; }
        Losses const& Get() const noexcept { return mLosses; }

        /// Whether there are losses for which this operation was not called yet.
        bool Announce() noexcept { return HasLosses() && !std::exchange(mLosses.mIsAnnounced, true); }

        /// The losses are reported. The times stay, so that a failure within the interval still waits.
        void Clear() noexcept;

        /// Returns the losses and resets this object.
        Losses Take() noexcept { return std::exchange(*this, LossAccount()).mLosses; }

        /// Takes over losses, when this object is new or reset.
        void Put(Losses&& losses) noexcept { mLosses = std::move(losses); }

    private:
        Losses mLosses;
        QzDataType::DateTime mLastAttemptTime{0.0};
    };
}
