#include "routing/Loan.h"

#include <algorithm>

namespace QzLog
{
    namespace
    {
        /// In a forked child: addresses that threads of the parent had stored. An object there gets a reference that
        /// nobody releases, once it is taken out of use. If the thread had not compared the address yet, that can be an
        /// object of the child that has come to this address: it is not destroyed either.
        constinit std::array<std::atomic<void*>, 256> gLeftBehind{};

        void* Mark(QzBase::ReferenceCounted& object) noexcept
        {
            return static_cast<char*>(static_cast<void*>(&object)) + 1;
        }
    }

    constinit QzSynch::ThreadStripes<LoanBase::Record, 64> LoanBase::gRecords;

    void LoanBase::ReleaseReference(void* left)
    {
        static_cast<QzBase::ReferenceCounted*>(static_cast<void*>(static_cast<char*>(left) - 1))->Release();
    }

    void LoanBase::HandOver(void const* address, QzBase::ReferenceCounted& object)
    {
        for (Record& record : gRecords)
        {
            for (Place& place : record.mPlaces)
            {
                void* lent = place.load();
                if (lent != address)
                    continue;
                // First the reference, then the mark: the loan can end directly after that.
                object.AddRef();
                if (!place.compare_exchange_strong(lent, Mark(object)))
                    object.Release();
            }
        }
        for (std::atomic<void*>& left : gLeftBehind)
        {
            void* lent = left.load(std::memory_order_relaxed);
            if (lent == address && left.compare_exchange_strong(lent, nullptr))
                object.AddRef();
        }
    }

    /// Allocates nothing: without room in the list, an address stays in its place, and the child's threads that come to
    /// that place count their loans.
    void LoanBase::ForgetOtherThreads() noexcept
    {
        // This thread's own record may have loans of its own, which it will end.
        Record const& own = gRecords.OfThisThread();
        auto left = gLeftBehind.begin();
        for (Record& record : gRecords)
        {
            if (&record == &own)
                continue;
            for (Place& place : record.mPlaces)
            {
                void* const lent = place.load();
                if (lent && !IsReference(lent))
                {
                    left = std::find(left, gLeftBehind.end(), nullptr);
                    if (left == gLeftBehind.end())
                        return;
                    left->store(lent);
                }
                place.store(nullptr);
            }
        }
    }
}
