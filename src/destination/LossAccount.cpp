#include "destination/LossAccount.h"

#include <algorithm>
#include <limits>

namespace QzLog
{
    namespace
    {
        constexpr std::uint64_t kLargestCount = std::numeric_limits<unsigned int>::max();
    }

    void LossAccount::Begin(QzBase::Message const& failure, unsigned int lostCount)
    {
        std::string reason = MakeReason(failure);
        QzDataType::DateTime const now = QzDataType::DateTime::Now();
        mLosses = Losses{lostCount, now, std::move(reason)};
        mLastAttemptTime = now;
    }

    bool LossAccount::IsRetryDue(unsigned int seconds) const
    {
        return seconds == 0 ||
               (QzDataType::DateTime::Now() - mLastAttemptTime).GetTotalSeconds() >= std::int64_t{seconds};
    }

    void LossAccount::AddLosses(unsigned int count) noexcept
    {
        mLosses.mCount = std::min(mLosses.mCount + count, kLargestCount);
    }

    void LossAccount::AddFailedAttempt(unsigned int count)
    {
        AddLosses(count);
        mLastAttemptTime = QzDataType::DateTime::Now();
    }

    void LossAccount::ForgetCount() noexcept
    {
        mLosses.mCount = 0;
        mLosses.mIsAnnounced = false;
    }

    void LossAccount::Clear() noexcept
    {
        mLosses.mReason.clear();
        ForgetCount();
    }
}
