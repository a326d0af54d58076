#pragma once

#include <QzBase/CountedPtr.h>
#include <QzSynch/Locks.h>

#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace QzLog
{
    /// The listeners of a logger or a dispatcher, in the order of their addresses, guarded by the lock of their
    /// owner. References are taken and dropped with the lock free, since a last one runs a destructor of the
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

        /// The callbacks of this moment, to be called with no lock held.
        std::vector<QzBase::CountedPtr<Callback>> Copy() const
        {
            std::vector<QzBase::CountedPtr<Callback>> copy;
            QzSynch::RWLock::ReadSmartLock const hold(mLock);
            copy.assign(mCallbacks.begin(), mCallbacks.end());
            return copy;
        }

    private:
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

        using Set = std::set<QzBase::CountedPtr<Callback>, ByAddress>;

        QzSynch::RWLock& mLock;
        Set mCallbacks;
    };
}
