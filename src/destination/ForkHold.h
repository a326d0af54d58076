#pragma once

#include <QzSynch/Locks.h>

#include <optional>

namespace QzLog
{
    /// Holds a lock whenever the process forks, so that the child never inherits it from a thread that does not
    /// exist there, nor what it guards in the middle of a change. The fork waits for whoever has the lock.
    class ForkHold
    {
    public:
        class Client
        {
        public:
            /// Called in the child, the lock still held, by its only thread.
            virtual void GoOnInForkedChild() noexcept = 0;

        protected:
            ~Client() = default;
        };

        /// Both outlive this object. No holder of the lock makes or ends a ForkHold.
        ForkHold(QzSynch::CriticalSection& lock, Client& client);
        ~ForkHold();
        ForkHold(ForkHold const&) = delete;
        ForkHold& operator=(ForkHold const&) = delete;

    private:
        static void BeforeFork();
        static void AfterForkInParent();
        static void AfterForkInChild();

        QzSynch::CriticalSection& mLock;
        Client& mClient;
        std::optional<QzSynch::CriticalSection::SmartLock> mHold;
        ForkHold* mpNext;
        ForkHold* mpPrevious = nullptr;
    };
}
