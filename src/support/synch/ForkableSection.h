#pragma once

#include "support/synch/ForkSafeLocks.h"

#include <QzSynch/Locks.h>

#include <atomic>
#include <optional>

namespace QzSynch
{
    /// A critical section whose holder may have to wait for another process, without a time-out. The holder waits in a
    /// gap of the section. During a gap other holders still wait, but forks and those who only look (Look) do not.
    /// What the section guards must be consistent in a gap, since a forked child goes on with it as it is.
    ///
    /// Forks wait for a holder that is not in a gap. A thread must not take the section while it holds it.
    class ForkableSection final : private ForkHold::Client
    {
    public:
        class Client
        {
        public:
            /// Called before a fork, by the thread that forks and holds the section, also during a gap.
            virtual void PrepareForFork() noexcept {}

            /// Called in a forked child by its only thread, while this thread holds the section and all other locks
            /// that are held around forks. Sections that are taken after this one have been called before.
            /// \param wasGap  whether a thread of the parent was in a gap. The child does not have that thread.
            virtual void GoOnInForkedChild(bool wasGap) noexcept = 0;

        protected:
            ~Client() = default;
        };

        /// \param client  outlives this object.
        ForkableSection(ForkHold::Rank rank, Client& client);

        class Gap;

        /// Holds the section for its life.
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

        /// For its life nobody else is in the section, except in a gap. What it sets changes for a holder in its gap.
        class Look : private CriticalSection::SmartLock
        {
        public:
            explicit Look(ForkableSection& section) : SmartLock(*section.mpLock) {}
        };

        /// For the thread in the section: whether another one of this process will soon be in it.
        bool IsTriedFor() const noexcept { return QzSynch::IsTriedFor(*mpLock); }

    private:
        void PrepareForFork() noexcept override { mClient.PrepareForFork(); }
        void GoOnInForkedChild() noexcept override;

        /// The holder, also in its gap; guarded by mpLock. Other threads that find one wait until mTurn changes.
        Hold* mpHolder = nullptr;
        /// Goes up when a holder that had a gap leaves.
        std::atomic<int> mTurn{0};
        Client& mClient;
        CriticalSectionPtr const mpLock;
    };
}
