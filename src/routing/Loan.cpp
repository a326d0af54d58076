#include "routing/Loan.h"

#include <array>
#include <cstddef>

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kRecords = 64;
        // Two for a log call, and two more for one that a destination makes inside it.
        constexpr std::size_t kPlaces = 4;

        /// The places of one thread; more threads than records share them.
        struct alignas(64) Record
        {
            std::array<std::atomic<void*>, kPlaces> mPlaces{};
        };

        constinit std::array<Record, kRecords> gRecords{};
        constinit std::atomic<std::size_t> gNextRecord{0};

        // Stands in a place in lieu of the object once there is a reference for it.
        constinit char gHandedOver = 0;

        [[gnu::tls_model("initial-exec")]] constinit thread_local Record* gRecordOfThread = nullptr;

        Record& GetRecord() noexcept
        {
            if (!gRecordOfThread)
                gRecordOfThread = &gRecords[gNextRecord.fetch_add(1, std::memory_order_relaxed) % kRecords];
            return *gRecordOfThread;
        }
    }

    LoanBase::LoanBase(QzBase::ReferenceCounted* object) : mpObject(object)
    {
        if (!object)
            return;
        for (std::atomic<void*>& place : GetRecord().mPlaces)
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
                // First the reference, then the word that it is there: the loan can end at once.
                object.AddRef();
                if (!place.compare_exchange_strong(lent, &gHandedOver))
                    object.Release();
            }
        }
    }

    void LoanBase::ForgetOtherThreads() noexcept
    {
        for (Record& record : gRecords)
        {
            // What stands in this thread's own record may be its own, which will end.
            void* const left = &record == gRecordOfThread ? &gHandedOver : nullptr;
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
