#pragma once

#include "destination/Losses.h"

#include <utility>

namespace QzLog
{
    /// What a disk file with basic recovery has lost, and when its file may be tried again: one count, which a further
    /// failure begins anew. Used by one thread at a time.
    class LossAccount
    {
    public:
        /// A failure that begins a new count; an earlier one is forgotten.
        /// \param lostCount  the messages that went with it.
        void Begin(QzBase::Message const& failure, unsigned int lostCount);

        /// Whether the last failure or failed attempt is that old. True at first.
        bool IsRetryDue(unsigned int seconds) const;

        /// More messages were lost; their reason stays that of the first.
        void AddLosses(unsigned int count) noexcept;

        /// The same, by an attempt that failed: the interval begins anew.
        void AddFailedAttempt(unsigned int count);

        /// For a forked child: the parent reports what was lost up to now. Time and reason of the failure stay.
        void ForgetCount() noexcept;

        bool HasLosses() const noexcept { return mLosses.mCount != 0; }
        Losses const& Get() const noexcept { return mLosses; }

        /// Whether there are losses that were not asked about with this operation yet.
        bool Announce() noexcept { return HasLosses() && !std::exchange(mLosses.mIsAnnounced, true); }

        /// The losses are told. The times stay, so that the next failure within the interval still waits.
        void Clear() noexcept;

        /// Gives all of it up and begins as at first.
        Losses Take() noexcept { return std::exchange(*this, LossAccount()).mLosses; }

        /// Goes on with what somebody else has lost, after it began as at first.
        void Put(Losses&& losses) noexcept { mLosses = std::move(losses); }

    private:
        Losses mLosses;
        QzDataType::DateTime mLastAttemptTime{0.0};
    };
}
