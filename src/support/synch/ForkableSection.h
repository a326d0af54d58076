#pragma once

#include "support/synch/ForkHold.h"

#include <QzSynch/Locks.h>

#include <atomic>
#include <optional>

namespace QzSynch
{
    /// A critical section whose holder may have to wait for somebody outside the process, without an end in sight. It
    /// waits in a gap of the section: other holders stay out for as long as before, but a fork passes, and so does
    /// whoever only looks. What the section guards is fit for use in a gap, since a forked child goes on with it as it
    /// is.
    ///
    /// Forks wait for the holder outside a gap. A thread does not take the section again while it has it.
    class ForkableSection final : private ForkHold::Client
    {
    public:
        class Client
        {
        public:
            /// Called in a forked child by its only thread, which has the section, with all locks that are held around
            /// forks still held; those that they are taken behind have been served.
            /// \param wasGap  whether some thread was in a gap. That thread is in the parent only.
            virtual void GoOnInForkedChild(bool wasGap) noexcept = 0;

        protected:
            ~Client() = default;
        };

        /// \param client  outlives this object.
        ForkableSection(ForkHold::Rank rank, Client& client);

        class Gap;

        /// Has the section for its life.
        class Hold
        {
        public:
            explicit Hold(ForkableSection& section);
            ~Hold();
            Hold(Hold const&) = delete;
            Hold& operator=(Hold const&) = delete;

        private:
            friend class Gap;

            ForkableSection& mSection;
            std::optional<CriticalSection::SmartLock> mInside;
            bool mHadGap = false;
        };

        /// A gap in the section, made by the thread that has it.
        class Gap
        {
        public:
            explicit Gap(ForkableSection& section);
            ~Gap();
            Gap(Gap const&) = delete;
            Gap& operator=(Gap const&) = delete;

        private:
            Hold& mHold;
        };

        /// For its life nobody is inside, though somebody may be in a gap: to read or set a value that a holder reads
        /// but once, behind its gaps.
        class Look : private CriticalSection::SmartLock
        {
        public:
            explicit Look(ForkableSection& section) : SmartLock(*section.mpLock) {}
        };

    private:
        void GoOnInForkedChild() noexcept override;

        CriticalSectionPtr const mpLock;
        /// The holder, also in its gap; under mpLock. Others who find it here wait for the next turn.
        Hold* mpHolder = nullptr;
        /// Goes up when a holder that had a gap leaves.
        std::atomic<int> mTurn{0};
        Client& mClient;
        ForkHold const mForkHold;
    };
}
