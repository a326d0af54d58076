#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>
#include <QzSynch/AtomicLong.h>

namespace QzSynch
{
    /// The standard implementation of QzBase::ReferenceCounted. It shares its virtual base with the interface that a
    /// class implements; see Counted below. The count starts at 0.
    template <class Counter>
    class QZLOG_API ReferenceCountedImpl : public virtual QzBase::ReferenceCounted
    {
    public:
        ReferenceCountedImpl() noexcept : mReferenceCount(0) {}

        // The count belongs to the object and not to its value.
        ReferenceCountedImpl(ReferenceCountedImpl const&) noexcept : mReferenceCount(0) {}
        ReferenceCountedImpl& operator=(ReferenceCountedImpl const&) noexcept { return *this; }

        void AddRef() override { ++mReferenceCount; }

        void Release() override
        {
            // Two threads that both read 2 must not both decrement without OnLastRelease. Every step but
            // the last is a compare-exchange, so the thread that takes the count from 1 to 0 has run it.
            // Only the holder of the last reference can read 1, so no other thread runs the first branch
            // at the same time.
            int count = mReferenceCount;
            for (;;)
            {
                if (count == 1)
                {
                    OnLastRelease();
                    if (--mReferenceCount == 0)
                        delete this;
                    return;
                }
                if (mReferenceCount.CompareExchange(count, count - 1))
                    return;
            }
        }

        /// Called by Release while the count is still 1, so that the object is fully usable. Override it to
        /// detach the object from those that point to it. It is called again if somebody took a reference
        /// meanwhile and releases it later, so it must be harmless when repeated.
        virtual void OnLastRelease() {}

    private:
        Counter mReferenceCount;
    };

    // One instance in the library, so that there is one type information in the process.
    extern template class QZLOG_API ReferenceCountedImpl<AtomicLong>;

    /// Adds reference counting to an interface. A class that implements the interface derives from this:
    ///
    ///     class Hook : public QzSynch::Counted<QzLog::ConfigurationHook> { ... };
    ///     QzBase::CountedPtr<Hook> const hook(new Hook);
    template <class Interface>
    class Counted : public Interface, public ReferenceCountedImpl<AtomicLong>
    {
    public:
        using Interface::Interface;
    };
}
