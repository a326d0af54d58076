#pragma once

#include <QzBase/Export.h>
#include <QzBase/StrongPtr.h>

namespace QzSynch
{
    /// The group that a lock belongs to, for a look at it in a debugger. Any 32-bit value is allowed.
    enum EnumHvnLockStackCategory : int
    {
        /// The category of the library's own locks.
        kLockStackCategoryDefault = -3,
        /// The category of its locks with process lifetime.
        kLockStackCategoryStatic = -4
    };

    /// A recursive mutex: the thread that holds it may take it again, and must then release it as often.
    /// Held through SmartLock.
    class QZLOG_API CriticalSection
    {
    public:
        /// Holds the lock from construction to destruction, both by one thread.
        class SmartLock
        {
        public:
            explicit SmartLock(CriticalSection& lock) : mLock(lock) { mLock.Enter(); }
            ~SmartLock() { mLock.Leave(); }
            SmartLock(SmartLock const&) = delete;
            SmartLock& operator=(SmartLock const&) = delete;

        private:
            CriticalSection& mLock;
        };

        /// Destroys the lock and frees its memory. No thread may hold it or be about to release it.
        virtual void Delete() = 0;

        /// The category that the lock was created with.
        virtual EnumHvnLockStackCategory GetCategory() const = 0;

    protected:
        virtual ~CriticalSection();
        virtual void Enter() = 0;
        virtual void Leave() = 0;
    };

    /// A readers-writer lock. A waiting writer goes before readers that come later, so a steady stream of
    /// readers never starves it. Readers that have waited for one writer go before the next writer, so
    /// writers do not starve readers. A thread that holds the lock, shared or exclusively, must not take it
    /// again in either way: it could wait for a writer that waits for it. Readers are counted in eight counters,
    /// each on a cache line of its own. Threads are assigned to the counters in turn, in the order of their first
    /// log call or lock. Threads that read at the same time slow each other down only if they share a counter.
    class QZLOG_API RWLock
    {
    public:
        /// Holds the lock shared until Unlock or destruction. Created, unlocked and destroyed by one thread.
        class ReadSmartLock
        {
        public:
            explicit ReadSmartLock(RWLock& lock) : mpLock(&lock) { mpLock->EnterRead(); }
            ~ReadSmartLock() { Unlock(); }
            ReadSmartLock(ReadSmartLock const&) = delete;
            ReadSmartLock& operator=(ReadSmartLock const&) = delete;

            /// Releases the lock early; the destructor then does nothing.
            void Unlock()
            {
                if (RWLock* const lock = mpLock)
                {
                    mpLock = nullptr;
                    lock->LeaveRead();
                }
            }

        private:
            RWLock* mpLock;
        };

        /// Holds the lock exclusively until Unlock or destruction. Created, unlocked and destroyed by one thread.
        class WriteSmartLock
        {
        public:
            explicit WriteSmartLock(RWLock& lock) : mpLock(&lock) { mpLock->EnterWrite(); }
            ~WriteSmartLock() { Unlock(); }
            WriteSmartLock(WriteSmartLock const&) = delete;
            WriteSmartLock& operator=(WriteSmartLock const&) = delete;

            /// Releases the lock early; the destructor then does nothing.
            void Unlock()
            {
                if (RWLock* const lock = mpLock)
                {
                    mpLock = nullptr;
                    lock->LeaveWrite();
                }
            }

        private:
            RWLock* mpLock;
        };

        /// Destroys the lock and frees its memory. No thread may hold it or be about to release it.
        virtual void Delete() = 0;

        /// The category that the lock was created with.
        virtual EnumHvnLockStackCategory GetCategory() const = 0;

    protected:
        virtual ~RWLock();
        virtual void EnterRead() = 0;
        virtual void LeaveRead() = 0;
        virtual void EnterWrite() = 0;
        virtual void LeaveWrite() = 0;
    };

    /// Owners of locks.
    using CriticalSectionPtr = QzBase::StrongPtr<CriticalSection>;
    using RWLockPtr = QzBase::StrongPtr<RWLock>;

    /// Both return a new lock that the caller owns, and throw std::bad_alloc.
    QZLOG_API CriticalSection* CreateCriticalSection(EnumHvnLockStackCategory category);
    QZLOG_API RWLock* CreateRWLock(EnumHvnLockStackCategory category);
}
