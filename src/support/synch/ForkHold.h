#pragma once

#include <QzSynch/Locks.h>

#include <optional>

namespace QzSynch
{
    /// Holds a lock whenever the process forks: the child neither inherits it from a thread that exists in the parent
    /// only, nor finds what it guards in the middle of a change. The fork waits for whoever is inside.
    ///
    /// For locks under which nothing forks, and no ForkHold is made or ends. The lock outlives this object.
    ///
    /// A thread that forks can come by such locks amid the fork, in functions that the host program registered for that
    /// before this library was loaded. They are open to it.
    class ForkHold
    {
    public:
        /// The order in which the locks are taken before a fork: a thread that has one may take those of the kinds
        /// behind it.
        enum Rank
        {
            kOutermost,
            kFile,
            kInnermost
        };

        class Client
        {
        public:
            /// Called in the child by its only thread, with all the locks still held. Those behind this one have been
            /// served.
            virtual void GoOnInForkedChild() noexcept = 0;

        protected:
            ~Client() = default;
        };

        /// Held for writing.
        explicit ForkHold(RWLock& lock);
        /// \param client  may be null; outlives this object.
        explicit ForkHold(CriticalSection& lock, Rank rank = kInnermost, Client* client = nullptr);
        ~ForkHold();
        ForkHold(ForkHold const&) = delete;
        ForkHold& operator=(ForkHold const&) = delete;

    private:
        static ForkHold* GetLast();
        static void BeforeFork();
        static void GiveAllBack(void (*leave)(RWLock&));
        static void AfterForkInParent();
        static void AfterForkInChild();

        void Enlist();
        void Take();
        void GiveBack(void (*leave)(RWLock&));

        // One of the two is null.
        RWLock* const mpRWLock;
        CriticalSection* const mpCriticalSection;
        Rank const mRank;
        Client* const mpClient;
        std::optional<CriticalSection::SmartLock> mHold;
        bool mIsTaken = false;
        ForkHold* mpNext = nullptr;
        ForkHold* mpPrevious = nullptr;
    };
}
