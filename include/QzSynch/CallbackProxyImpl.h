#pragma once

#include <QzBase/CountedPtr.h>
#include <QzSynch/Locks.h>

namespace QzSynch
{
    /// A bare pointer to an owner, guarded by a critical section. A lower object holds it instead of a
    /// counted reference to its owner, so that there is no cycle of references. All operations may be called
    /// from any thread. Constructing throws std::bad_alloc.
    template <class T>
    class CallbackProxyImpl
    {
    public:
        CallbackProxyImpl() : CallbackProxyImpl(CreateCriticalSection(kLockStackCategoryDefault)) {}

        /// Sets the owner, or null to detach it. The owner detaches itself while it is still usable, in its
        /// OnLastRelease. From then on GetTarget returns null.
        void SetTarget(T* target)
        {
            CriticalSection::SmartLock const hold(*mpLock);
            mpTarget = target;
        }

        /// The owner with a new reference, or null. The lock is held only while the pointer is copied and the
        /// reference taken; the caller releases the reference with no lock held.
        QzBase::ReturnPtrI<T> GetTarget() const
        {
            CriticalSection::SmartLock const hold(*mpLock);
            return QzBase::ReturnPtrI<T>(mpTarget);
        }

    protected:
        /// \param lock  guards the pointer; this object becomes its owner.
        explicit CallbackProxyImpl(CriticalSection* lock) noexcept : mpLock(lock) {}

        ~CallbackProxyImpl() = default;

    private:
        T* mpTarget = nullptr;
        CriticalSectionPtr mpLock;
    };
}
