#pragma once

#include "destination/Losses.h"

#include <cstddef>
#include <vector>

namespace QzLog
{
    /// What a disk file with strict recovery has lost and not yet reported, and when its file may be tried again. A run
    /// of losses ends when it is reported or a failure has another reason. Used by one thread at a time.
    class LossRuns
    {
    public:
        /// Makes room for all runs, so that none is dropped for want of memory.
        LossRuns() { mRuns.reserve(kMostRuns + 1); }

        /// A failure or failed attempt, with the messages that were lost by it: none if the file could not be opened
        /// before there was a message.
        void AddFailure(QzBase::Message const& failure, unsigned int lostCount);

        /// More messages were lost because no attempt was due.
        void AddLosses(unsigned int count);

        /// Whether the last failure is that old, or the clock was set back to before it. True while there are no runs.
        bool IsRetryDue(unsigned int seconds) const;

        bool AreEmpty() const noexcept { return mRuns.empty(); }
        Losses const& GetFirst() const { return mRuns.front(); }
        Losses TakeFirst();

        /// The messages of all runs.
        std::uint64_t GetTotal() const noexcept;

        /// The last run, if it has losses and this operation has not returned it yet.
        Losses const* Announce() noexcept;

        /// For a forked child: the parent reports what was lost up to now.
        void ForgetCounts() noexcept;

        /// Returns the losses as one run, and resets this object.
        Losses Take();

        /// Takes over losses, when this object is new or reset.
        void Put(Losses&& losses);

    private:
        void Join();

        static constexpr std::size_t kMostRuns = 16;

        /// In the order of their beginning. One without losses holds a reason for those that may follow.
        std::vector<Losses> mRuns;
        QzDataType::DateTime mLastFailureTime{0.0};
    };
}
