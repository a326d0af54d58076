#pragma once

#include <QzBase/ReferenceCounted.h>

#include <atomic>

namespace QzLog
{
    /// A hazard pointer: keeps an object alive for a log call without changing its reference count, which all threads
    /// that log through the object would otherwise write to. The thread stores the pointer in a slot of its own
    /// instead. Whoever takes the object out of use finds the pointer there, and turns the loan into a counted
    /// reference.
    class LoanBase
    {
    public:
        LoanBase(LoanBase const&) = delete;
        LoanBase& operator=(LoanBase const&) = delete;

        /// Turns the open loans of an object into references. Called by an owner that has replaced the object under the
        /// lock under which loans are taken, or is being destroyed, before it releases its reference. Needs no lock.
        static void HandOver(QzBase::ReferenceCounted& object);

        /// In a forked child: the loans become references. Threads that exist only in the parent never release theirs,
        /// so the objects they were using are never destroyed: one may hold a lock that such a thread had taken.
        static void ForgetOtherThreads() noexcept;

    protected:
        /// The caller holds the lock under which the object could be replaced, at least for reading. Null is no loan.
        explicit LoanBase(QzBase::ReferenceCounted* object);
        ~LoanBase();

    private:
        QzBase::ReferenceCounted* const mpObject;
        /// Null if no slot was free: then the loan is a counted reference.
        std::atomic<void*>* mpPlace = nullptr;
    };

    /// A loan of a T, or of nothing. Destroyed on the thread that created it.
    template <class T>
    class Loan : public LoanBase
    {
    public:
        explicit Loan(T* object) : LoanBase(object), mpObject(object) {}

        explicit operator bool() const noexcept { return mpObject != nullptr; }
        T* operator->() const noexcept { return mpObject; }

    private:
        T* const mpObject;
    };
}
