#pragma once

namespace QzSynch
{
    /// Holds a lock whenever the process forks: the child neither inherits it from a thread that exists in the parent
    /// only, nor finds what it guards in the middle of a change. The fork waits for the thread that holds it. A part of
    /// the lock: see ForkSafeLocks.h.
    ///
    /// For locks under which nothing forks, and no such lock is created or destroyed.
    ///
    /// A thread that forks can reach such locks during the fork, in fork handlers that the host program registered
    /// before this library was loaded. There the locks do not make it wait.
    class ForkHold
    {
    public:
        /// The order in which the locks are taken before a fork: a thread that holds one may take locks of the ranks
        /// after it.
        enum Rank
        {
            kOutermost,
            kFile,
            kInnermost
        };

        /// The lock. All are called by the thread that forks, or by its copy, which is the child's only thread.
        class Lock
        {
        public:
            /// Takes the lock and its inner locks.
            virtual void EnterBeforeFork() = 0;
            virtual void LeaveAfterForkInParent() = 0;
            /// Also forgets the threads that were waiting for the lock.
            virtual void LeaveAfterForkInChild() = 0;

        protected:
            ~Lock() = default;
        };

        class Client
        {
        public:
            /// Called before a fork by the thread that forks, which has just taken the lock.
            virtual void PrepareForFork() noexcept {}

            /// Called in the child by its only thread, with all the locks still held. Clients of the locks after
            /// this one have been called before.
            virtual void GoOnInForkedChild() noexcept = 0;

        protected:
            ~Client() = default;
        };

        /// \param lock    outlives this object, as does the client. It can be called at once.
        /// \param client  may be null.
        explicit ForkHold(Lock& lock, Rank rank = kInnermost, Client* client = nullptr);
        ~ForkHold();
        ForkHold(ForkHold const&) = delete;
        ForkHold& operator=(ForkHold const&) = delete;

    private:
        static ForkHold* GetLast();
        static void BeforeFork();
        static void GiveAllBack(void (Lock::*leave)());
        static void AfterForkInParent();
        static void AfterForkInChild();

        void GiveBack(void (Lock::*leave)());

        static bool const gIsWatched;

        Lock& mLock;
        Rank const mRank;
        Client* const mpClient;
        bool mIsTaken = false;
        ForkHold* mpNext = nullptr;
        ForkHold* mpPrevious = nullptr;
    };
}
