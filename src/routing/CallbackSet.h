#pragma once

#include <QzBase/CountedPtr.h>
#include <QzSynch/Locks.h>

#include <functional>
#include <new>
#include <set>
#include <utility>
#include <vector>

namespace QzLog
{
    /// The callbacks of a logger or a dispatcher, in the order of their addresses, guarded by the lock of their
    /// owner. References are released only after the lock, since the last release runs a destructor of the
    /// user's.
    template <class Callback>
    class CallbackSet
    {
    public:
        explicit CallbackSet(QzSynch::RWLock& lock) noexcept : mLock(lock) {}

        /// Null changes nothing.
        void Add(Callback* callback)
        {
            if (!callback)
                return;
            Set added;
            added.insert(QzBase::CountedPtr<Callback>(callback));
            QzSynch::RWLock::WriteSmartLock const hold(mLock);
            mCallbacks.merge(added);
        }

        /// The pointer is only compared: it need not point to anything.
        void Remove(Callback* callback)
        {
            typename Set::node_type removed;
            QzSynch::RWLock::WriteSmartLock const hold(mLock);
            auto const found = mCallbacks.find(callback);
            if (found != mCallbacks.end())
                removed = mCallbacks.extract(found);
        }

        /// Calls the present callbacks in their order, with no lock held. An exception of a callback ends the
        /// round. It never fails by itself: without memory for a copy of the set, each callback is looked up in
        /// turn, and callbacks that are added or removed meanwhile are taken into account.
        template <class Call>
        void CallEach(Call const& call) const
        {
            std::vector<Pointer> copy;
            if (!TryCopy(copy))
            {
                for (Pointer next = FindBehind(nullptr); next; next = FindBehind(next.get()))
                    call(*next);
            }
            for (Pointer const& callback : copy)
                call(*callback);
        }

    private:
        using Pointer = QzBase::CountedPtr<Callback>;

        bool TryCopy(std::vector<Pointer>& copy) const
        try
        {
            QzSynch::RWLock::ReadSmartLock const hold(mLock);
            copy.assign(mCallbacks.begin(), mCallbacks.end());
            return true;
        }
        catch (std::bad_alloc const&)
        {
            return false;
        }

        /// The first callback, or the first one after `callback`, or null.
        Pointer FindBehind(Callback* callback) const
        {
            QzSynch::RWLock::ReadSmartLock const hold(mLock);
            auto const found = callback ? mCallbacks.upper_bound(callback) : mCallbacks.begin();
            return found == mCallbacks.end() ? Pointer() : *found;
        }

        struct ByAddress
        {
            using is_transparent = void;

            static Callback* Address(QzBase::CountedPtr<Callback> const& pointer) noexcept { return pointer.get(); }
            static Callback* Address(Callback* pointer) noexcept { return pointer; }

            template <class A, class B>
            bool operator()(A const& a, B const& b) const noexcept
            {
                return std::less<Callback*>()(Address(a), Address(b));
            }
        };

        using Set = std::set<Pointer, ByAddress>;

        QzSynch::RWLock& mLock;
        Set mCallbacks;
    };
}
