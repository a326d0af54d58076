#pragma once

#include "support/synch/ThreadStripe.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/ReferenceCounted.h>
#include <QzSynch/Locks.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

// Hazard pointers: they keep an object alive for a log call without changing its reference count, which all threads
// that log through the object would otherwise write to. The thread stores the object's address in a place of its own
// instead. Whoever takes the object out of use finds the address there, and gives the loan a counted reference.
//
// A borrower reads the pointer to the object, stores what it read in a place, and reads the pointer again. Whoever
// replaces the object first exchanges the pointer and then reads the places. These four operations, from the store on,
// are sequentially consistent: either the borrower sees the other pointer, or the place is seen by who replaced the
// object. tests/models/Loan.pml is a model of this.

namespace QzLog
{
    class LoanBase
    {
    public:
        LoanBase(LoanBase const&) = delete;
        LoanBase& operator=(LoanBase const&) = delete;

        /// Gives the open loans of an object references. Called after the object was taken out of use, before its
        /// reference is released. Needs no lock.
        static void HandOver(void const* address, QzBase::ReferenceCounted& object);

        /// In a forked child: threads that exist only in the parent never end their loans, so the objects they were
        /// using are never destroyed: one may hold a lock that such a thread had taken.
        static void ForgetOtherThreads() noexcept;

    protected:
        /// Holds an address, or, marked by the lowest bit, a QzBase::ReferenceCounted to which there is a reference:
        /// not only the word that there is one, since the object at an address that was stored too late may be of
        /// another class.
        ///
        /// Changed by exchanges only. Their order decides between the end of a loan and HandOver. Each of them acquires
        /// what those before it released: the uses of the object whose loan has ended, the reference that was taken.
        using Place = std::atomic<void*>;

        LoanBase() = default;
        ~LoanBase() = default;

        static auto& GetPlaces() noexcept { return gRecords.OfThisThread().mPlaces; }

        /// Returns whether the place was free. Threads may share a place.
        static bool Store(Place& place, void* address) noexcept
        {
            void* free = nullptr;
            return place.load(std::memory_order_relaxed) == nullptr && place.compare_exchange_strong(free, address);
        }

        static void Clear(Place& place)
        {
            void* const left = place.exchange(nullptr);
            if (IsReference(left)) [[unlikely]]
                ReleaseReference(left);
        }

    private:
        // Three for a log call, and three more for a log call that a destination makes within it.
        static constexpr std::size_t kPlaces = 6;

        /// The places of one thread, or of several that share them.
        struct Record
        {
            std::array<Place, kPlaces> mPlaces;
        };

        /// Objects begin at even addresses.
        static bool IsReference(void const* left) noexcept { return (reinterpret_cast<std::uintptr_t>(left) & 1) != 0; }
        static void ReleaseReference(void* left);

        static constinit QzSynch::ThreadStripes<Record, 64> gRecords;
    };

    template <class T>
    class Loan;

    /// Has the reference to an object that a Lendable had. Destroyed without a lock: the last release of an object runs
    /// its destructor, which may be the user's code.
    template <class T>
    class Replaced
    {
    public:
        /// Takes over the reference to the object, which may be null.
        explicit Replaced(T* object) noexcept : mpObject(object) {}

        ~Replaced()
        {
            if (!mpObject)
                return;
            LoanBase::HandOver(mpObject, *mpObject);
            mpObject->Release();
        }

        Replaced(Replaced const&) = delete;
        Replaced& operator=(Replaced const&) = delete;

        T& operator*() const noexcept { return *mpObject; }

    private:
        T* const mpObject;
    };

    /// A counted pointer, or null, whose object can be borrowed. All but the borrowing is done under the lock of its
    /// owner. The owner can be destroyed while its object is borrowed: a destination may release the last reference to
    /// the dispatcher that calls it.
    template <class T>
    class Lendable
    {
    public:
        Lendable() = default;
        Lendable(Lendable const&) = delete;
        Lendable& operator=(Lendable const&) = delete;
        ~Lendable() { static_cast<void>(Exchange(nullptr)); }

        T* Get() const noexcept { return mpObject.load(std::memory_order_relaxed); }

        [[nodiscard]] Replaced<T> Exchange(QzBase::ReturnPtrI<T> object, QzSynch::RWLock& lock)
        {
            QzSynch::RWLock::WriteSmartLock const hold(lock);
            return Exchange(std::move(object));
        }

        /// The lock is held for writing.
        [[nodiscard]] Replaced<T> Exchange(QzBase::ReturnPtrI<T> object) noexcept
        {
            return Replaced<T>(mpObject.exchange(object.release()));
        }

    private:
        friend Loan<T>;

        std::atomic<T*> mpObject{nullptr};
    };

    /// A loan of a T, or of nothing. Destroyed on the thread that created it.
    template <class T>
    class Loan : public LoanBase
    {
    public:
        /// \param lock  that of the owner. It is taken only if no place is free: then the loan is a counted reference.
        Loan(Lendable<T> const& source, QzSynch::RWLock& lock)
        {
            // What this reads is not used before the comparison below, whose load acquires the object's contents.
            T* object = source.mpObject.load(std::memory_order_relaxed);
            for (Place& place : GetPlaces())
            {
                while (object && Store(place, object))
                {
                    T* const present = source.mpObject.load();
                    if (present == object) [[likely]]
                    {
                        mpObject = object;
                        mpPlace = &place;
                        return;
                    }
                    Clear(place);
                    object = present;
                }
                if (!object)
                    return;
            }
            Count(source, lock);
        }

        /// Has a counted reference, or nothing.
        explicit Loan(QzBase::ReturnPtrI<T> object) noexcept : mpObject(object.release()) {}

        ~Loan()
        {
            if (mpPlace) [[likely]]
                Clear(*mpPlace);
            else if (mpObject)
                mpObject->Release();
        }

        explicit operator bool() const noexcept { return mpObject != nullptr; }
        T* operator->() const noexcept { return mpObject; }
        T* get() const noexcept { return mpObject; }

    private:
        [[gnu::noinline]] void Count(Lendable<T> const& source, QzSynch::RWLock& lock)
        {
            QzSynch::RWLock::ReadSmartLock const hold(lock);
            mpObject = source.Get();
            if (mpObject)
                mpObject->AddRef();
        }

        T* mpObject = nullptr;
        Place* mpPlace = nullptr;
    };
}
