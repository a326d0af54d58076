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

        /// Destroys the object and frees its memory. Called by the storage, once, with no lock held. At
        /// a thread's end it may set values again, which are deleted in their turn.
        virtual void Delete() = 0;
    };

    /// One value per thread, null until the thread sets it. The storage owns the values: each is deleted
    /// once, at its thread's end or at the storage's end, whichever comes first. A thread that sets a
    /// value very late in its end (in the last round of the system's clean-up) leaves it to the storage's
    /// end, and so does the thread that ends the process.
    ///
    /// In a child process made by fork, the values of threads that exist in the parent only are left as
    /// they are and never deleted: those threads may have been changing them.
    class QZLOG_API ThreadLocalStorage
    {
    public:
        /// Stores the calling thread's value, which may be null, and owns it from now on; another value
        /// that was there is deleted. Throws std::bad_alloc, and then owns nothing new.
        virtual void SetValue(ThreadContext* value) = 0;

        /// The calling thread's value, or null. Not handed over. Takes no lock.
        virtual ThreadContext* GetValue() const = 0;

        /// Ends the storage, deletes the values of all threads and frees its memory. No other thread may
        /// be inside SetValue or GetValue of this storage. Threads may end at the same time; a value that
        /// such a thread has begun to delete may outlast this call by a moment.
        virtual void Delete() = 0;

    protected:
        virtual ~ThreadLocalStorage();
    };

    using ThreadLocalStoragePtr = QzBase::StrongPtr<ThreadLocalStorage>;

    /// A new storage, owned by the caller. Throws std::bad_alloc.
    QZLOG_API ThreadLocalStorage* CreateThreadLocalStorage();
}
