#pragma once

#include <QzBase/CountedPtr.h>
#include <QzSynch/Locks.h>

namespace QzSynch
{
    /// A bare pointer to an owner, guarded by a critical section: what a lower object holds in place of
    /// a counted reference upward, so that no cycle of references arises. All operations may be called
    /// from any thread. Constructing throws std::bad_alloc.
    template <class T>
    class CallbackProxyImpl
    {
    public:
        CallbackProxyImpl() : CallbackProxyImpl(CreateCriticalSection(kLockStackCategoryDefault)) {}

        /// Sets the owner, or null to detach it. The owner detaches while it is still usable, in its
        /// OnLastRelease; from then on GetTarget gives null.
        void SetTarget(T* target)
        {
            CriticalSection::SmartLock const hold(*mpLock);
            mpTarget = target;
        }

        /// The owner with a new reference, or null. The lock is held only to copy the pointer and to
        /// take the reference; the caller gives the reference back with no lock held.
        QzBase::ReturnPtrI<T> GetTarget() const
        {
            CriticalSection::SmartLock const hold(*mpLock);
            return QzBase::ReturnPtrI<T>(mpTarget);
        }

    protected:
        /// \param lock  guards the pointer; owned from now on.
        explicit CallbackProxyImpl(CriticalSection* lock) noexcept : mpLock(lock) {}

        ~CallbackProxyImpl() = default;

    private:
        T* mpTarget = nullptr;
        CriticalSectionPtr mpLock;
    };
}
