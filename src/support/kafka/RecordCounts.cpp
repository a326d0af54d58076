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
        struct Reported final : private QzSynch::ForkHold::Client
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

        Reported& GetReported()
        {
            // Not destroyed: producers may run until the process ends.
            static Reported& reported = *new Reported;
            return reported;
        }

        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] Reported& gReported = GetReported();
    }

    constinit RecordCounts gRecordCounts;

    void AddFailed(std::uint64_t count, char const* reason) noexcept
    {
        Reported& reported = GetReported();
        QzSynch::CriticalSection::SmartLock const hold(*reported.mpLock);
        KeepReason(reported.mLastReason, reason);
        gRecordCounts.mFailed.fetch_add(count, std::memory_order_release);
    }

    void WriteLine(std::initializer_list<std::string_view> pieces) noexcept
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

    void ReportFailures(bool isForced) noexcept
    {
        Reported& reported = GetReported();
        std::int64_t const now = QzOs::gCalls.mpGetMonotonicNanoseconds();
        std::uint64_t count = 0;
        std::string reason;
        {
            QzSynch::CriticalSection::SmartLock const hold(*reported.mpLock);
            std::uint64_t const failed = gRecordCounts.mFailed.load(std::memory_order_acquire);
            bool const isDue = reported.mTime == 0 || now - reported.mTime >= kReportIntervalNanoseconds;
            if (failed == reported.mFailed || (!isDue && !isForced))
                return;
            count = failed - reported.mFailed;
            reported.mFailed = failed;
            reported.mTime = now;
            reason.swap(reported.mLastReason);
        }
        char digits[20];
        std::string_view const number(digits, std::to_chars(digits, std::end(digits), count).ptr);
        WriteLine({number, " accepted records were given up since the last report: ", reason});
    }
}
