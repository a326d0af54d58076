#pragma once

#include <QzBase/ReferenceCounted.h>

#include <atomic>

namespace QzLog
{
    /// A hazard pointer: keeps an object alive for a log call without moving its reference count, which all threads
    /// that log through it would otherwise write to, each time, from their own processors. The thread stores the
    /// pointer in a slot of its own instead; whoever takes the object out of use finds it there and leaves a reference
    /// for it.
    class LoanBase
    {
    public:
        LoanBase(LoanBase const&) = delete;
        LoanBase& operator=(LoanBase const&) = delete;

        /// For whoever has just replaced an object under the lock under which loans of it are taken, or is itself
        /// ending, before its own reference goes: the loans that are open become references. No lock need be held.
        static void HandOver(QzBase::ReferenceCounted& object);

        /// In the child of a fork: the loans become references. Threads that exist in the parent only never give
        /// theirs back, so what they were inside is never destroyed: it may have a lock that one of them had taken.
        static void ForgetOtherThreads() noexcept;

    protected:
        /// The caller holds the lock under which the object could be replaced, for reading at least. Null is no loan.
        explicit LoanBase(QzBase::ReferenceCounted* object);
        ~LoanBase();

    private:
        QzBase::ReferenceCounted* const mpObject;
        /// Null when no place was free: the object is counted then.
        std::atomic<void*>* mpPlace = nullptr;
    };

    /// A loan of a T, or of nothing. Ends on the thread that made it.
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
