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

        /// Destroys the object and frees its memory. Called by the storage, once, with no lock held. When a
        /// thread ends, it may set values again; these are deleted as well.
        virtual void Delete() = 0;
    };

    /// One value per thread, null until the thread sets it. The storage owns the values: each is deleted
    /// once, when its thread ends or when the storage is deleted, whichever comes first. Only the latter
    /// deletes the value of the thread that ends the process, and a value that a thread sets in the last
    /// round of the system's clean-up.
    ///
    /// In a forked child, the values of threads that exist only in the parent are never deleted: those
    /// threads may have been changing them.
    class QZLOG_API ThreadLocalStorage
    {
    public:
        /// Stores the calling thread's value, which may be null, and takes ownership of it. A different value
        /// that was there is deleted. Throws std::bad_alloc, and then does not own the new value.
        virtual void SetValue(ThreadContext* value) = 0;

        /// The calling thread's value, or null. The storage keeps ownership. Takes no lock.
        virtual ThreadContext* GetValue() const = 0;

        /// Destroys the storage with the values of all threads and frees its memory. No other thread may
        /// be inside SetValue or GetValue of this storage. Threads may end at the same time; a value that
        /// such a thread has begun to delete may live slightly longer than this call.
        virtual void Delete() = 0;

    protected:
        virtual ~ThreadLocalStorage();
    };

    using ThreadLocalStoragePtr = QzBase::StrongPtr<ThreadLocalStorage>;

    /// A new storage that the caller owns. Throws std::bad_alloc.
    QZLOG_API ThreadLocalStorage* CreateThreadLocalStorage();
}
