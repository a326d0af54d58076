#include "support/kafka/RecordCounts.h"

#include "os/Calls.h"
#include "support/kafka/TopicLosses.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/Conversions.h>

#include <charconv>
#include <iterator>
#include <new>
#include <string>

namespace KafkaClient
{
    namespace
    {
        constexpr std::int64_t kReportIntervalNanoseconds = 10'000'000'000;

        /// What has been reported of lost records. Guarded by its lock: a producer that is being destroyed and the one
        /// that replaces it have event threads of their own.
        struct Told final : private QzSynch::ForkHold::Client
        {
            std::uint64_t mFailed = 0;
            std::int64_t mTime = 0;
            std::string mLastReason;

            void GoOnInForkedChild() noexcept override
            {
                mFailed = 0;
                mTime = 0;
                gRecordCounts.mAccepted = 0;
                gRecordCounts.mDelivered = 0;
                gRecordCounts.mFailed = 0;
            }

            QzSynch::CriticalSectionPtr const mpLock{
                QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryStatic, QzSynch::ForkHold::kInnermost, this)};
        };

        Told& GetTold()
        {
            // Not destroyed: producers may run until the process ends.
            static Told& told = *new Told;
            return told;
        }

        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] Told& gTold = GetTold();
    }

    constinit RecordCounts gRecordCounts;

    void AddFailed(std::uint64_t count, char const* reason) noexcept
    {
        Told& told = GetTold();
        QzSynch::CriticalSection::SmartLock const hold(*told.mpLock);
        KeepReason(told.mLastReason, reason);
        gRecordCounts.mFailed.fetch_add(count, std::memory_order_release);
    }

    void Tell(std::initializer_list<std::string_view> pieces) noexcept
    try
    {
        std::string text = "KafkaClient: ";
        for (std::string_view const piece : pieces)
            text += piece;
        text += "\r\n";
        QzOs::gCalls.mpWriteDebugOutput(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
    }
    catch (std::bad_alloc const&)
    {
        return;
    }

    void TellFailures(bool isForced) noexcept
    {
        Told& told = GetTold();
        std::int64_t const now = QzOs::gCalls.mpGetMonotonicNanoseconds();
        std::uint64_t count = 0;
        std::string reason;
        {
            QzSynch::CriticalSection::SmartLock const hold(*told.mpLock);
            std::uint64_t const failed = gRecordCounts.mFailed.load(std::memory_order_acquire);
            bool const isDue = told.mTime == 0 || now - told.mTime >= kReportIntervalNanoseconds;
            if (failed == told.mFailed || (!isDue && !isForced))
                return;
            count = failed - told.mFailed;
            told.mFailed = failed;
            told.mTime = now;
            reason.swap(told.mLastReason);
        }
        char digits[20];
        std::string_view const number(digits, std::to_chars(digits, std::end(digits), count).ptr);
        Tell({number, " accepted records were given up since the last report: ", reason});
    }
}
