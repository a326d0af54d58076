#pragma once

#include <QzBase/Export.h>
#include <QzBase/StrongPtr.h>

namespace QzSynch
{
    /// Base of what a ThreadLocalStorage holds.
    class QZLOG_API ThreadContext
    {
    public:
        virtual ~ThreadContext();

        /// Destroys the object and frees its memory. Called by the storage, once.
        virtual void Delete() = 0;
    };

    /// One value per thread, null until the thread sets it. The storage owns the values: each is deleted
    /// once, at its thread's end or at the storage's end, whichever comes first.
    class QZLOG_API ThreadLocalStorage
    {
    public:
        /// Stores the calling thread's value and owns it from now on; a value that was there is deleted.
        /// Throws std::bad_alloc, and then owns nothing new.
        virtual void SetValue(ThreadContext* value) = 0;

        /// The calling thread's value, or null. Not handed over. Takes no lock.
        virtual ThreadContext* GetValue() const = 0;

        /// Ends the storage, deletes all values of all threads and frees its memory. No other thread may
        /// be inside SetValue or GetValue of this storage; threads may end at the same time.
        virtual void Delete() = 0;

    protected:
        virtual ~ThreadLocalStorage();
    };

    using ThreadLocalStoragePtr = QzBase::StrongPtr<ThreadLocalStorage>;

    /// A new storage, owned by the caller.
    QZLOG_API ThreadLocalStorage* CreateThreadLocalStorage();
}
