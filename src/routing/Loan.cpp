#include "routing/Loan.h"

#include "support/synch/ThreadStripe.h"

#include <array>
#include <cstddef>

// tests/models/Loan.pml is a model of this file.

namespace QzLog
{
    namespace
    {
        // Two for a log call, and two more for a log call that a destination makes within it.
        constexpr std::size_t kPlaces = 4;

        /// The slots of one thread, or of several that share them.
        struct Record
        {
            std::array<std::atomic<void*>, kPlaces> mPlaces{};
        };

        constinit QzSynch::ThreadStripes<Record, 64> gRecords;

        // Replaces the object in a slot when there is a reference for it.
        constinit char gHandedOver = 0;
    }

    LoanBase::LoanBase(QzBase::ReferenceCounted* object) : mpObject(object)
    {
        if (!object)
            return;
        for (std::atomic<void*>& place : gRecords.OfThisThread().mPlaces)
        {
            void* free = nullptr;
            if (place.load(std::memory_order_relaxed) == nullptr && place.compare_exchange_strong(free, object))
            {
                mpPlace = &place;
                return;
            }
        }
        object->AddRef();
    }

    LoanBase::~LoanBase()
    {
        if (!mpObject)
            return;
        if (!mpPlace || mpPlace->exchange(nullptr) == &gHandedOver)
            mpObject->Release();
    }

    void LoanBase::HandOver(QzBase::ReferenceCounted& object)
    {
        for (Record& record : gRecords)
        {
            for (std::atomic<void*>& place : record.mPlaces)
            {
                void* lent = &object;
                if (place.load() != lent)
                    continue;
                // First the reference, then the mark: the loan can end directly after that.
                object.AddRef();
                if (!place.compare_exchange_strong(lent, &gHandedOver))
                    object.Release();
            }
        }
    }

    void LoanBase::ForgetOtherThreads() noexcept
    {
        Record const& own = gRecords.OfThisThread();
        for (Record& record : gRecords)
        {
            // This thread's own record may have loans of its own, which it will release.
            void* const left = &record == &own ? &gHandedOver : nullptr;
            for (std::atomic<void*>& place : record.mPlaces)
            {
                void* const lent = place.load();
                if (!lent)
                    continue;
                if (lent != &gHandedOver)
                    static_cast<QzBase::ReferenceCounted*>(lent)->AddRef();
                place.store(left);
            }
        }
    }
}
