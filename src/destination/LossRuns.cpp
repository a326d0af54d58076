#include "destination/LossRuns.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

namespace QzLog
{
    namespace
    {
        /// Without memory a reason is empty: the loss counts all the same.
        std::string MakeReasonIfPossible(QzBase::Message const& failure)
        {
            try
            {
                return MakeReasonWithCauses(failure);
            }
            catch (std::bad_alloc const&)
            {
                return {};
            }
        }

        constexpr std::string_view kOthers = " And other reasons.";

        bool IsDigit(char c) noexcept
        {
            return c >= '0' && c <= '9';
        }

        std::string_view SkipDigits(std::string_view text)
        {
            text.remove_prefix(static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin()));
            return text;
        }

        /// Whether two reasons differ only in numbers: the reason of a failed write has the length of its record.
        bool IsSameReason(std::string_view left, std::string_view right)
        {
            while (!left.empty() && !right.empty())
            {
                bool const isNumber = IsDigit(left.front()) && IsDigit(right.front());
                if (!isNumber && left.front() != right.front())
                    return false;
                left = isNumber ? SkipDigits(left) : left.substr(1);
                right = isNumber ? SkipDigits(right) : right.substr(1);
            }
            return left.empty() && right.empty();
        }
    }

    void LossRuns::AddFailure(QzBase::Message const& failure, unsigned int lostCount)
    {
        std::string reason = MakeReasonIfPossible(failure);
        if (mRuns.empty() || !IsSameReason(mRuns.back().mReason, reason))
        {
            // A reason for which no message was lost is not needed.
            if (!mRuns.empty() && mRuns.back().mCount == 0)
                mRuns.pop_back();
            mRuns.push_back(Losses{0, QzDataType::DateTime(0.0), std::move(reason)});
        }
        AddLosses(lostCount);
        mLastFailureTime = QzDataType::DateTime::Now();
        if (mRuns.size() > kMostRuns)
            Join();
    }

    void LossRuns::AddLosses(unsigned int count)
    {
        Losses& last = mRuns.back();
        if (last.mCount == 0)
            last.mSince = QzDataType::DateTime::Now();
        last.mCount += count;
    }

    bool LossRuns::IsRetryDue(unsigned int seconds) const
    {
        if (mRuns.empty())
            return true;
        int const elapsed = (QzDataType::DateTime::Now() - mLastFailureTime).GetTotalSeconds();
        return elapsed < 0 || elapsed >= std::int64_t{seconds};
    }

    Losses LossRuns::TakeFirst()
    {
        Losses first = std::move(mRuns.front());
        mRuns.erase(mRuns.begin());
        return first;
    }

    std::uint64_t LossRuns::GetTotal() const noexcept
    {
        std::uint64_t total = 0;
        for (Losses const& run : mRuns)
            total += run.mCount;
        return total;
    }

    Losses const* LossRuns::Announce() noexcept
    {
        if (mRuns.empty() || mRuns.back().mCount == 0 || std::exchange(mRuns.back().mIsAnnounced, true))
            return nullptr;
        return &mRuns.back();
    }

    void LossRuns::ForgetCounts() noexcept
    {
        if (mRuns.empty())
            return;
        mRuns.erase(mRuns.begin(), mRuns.end() - 1);
        mRuns.back().mCount = 0;
        mRuns.back().mIsAnnounced = false;
    }

    Losses LossRuns::Take()
    {
        Join();
        mLastFailureTime = QzDataType::DateTime(0.0);
        return mRuns.empty() ? Losses() : TakeFirst();
    }

    void LossRuns::Put(Losses&& losses)
    {
        if (losses.mCount != 0)
            mRuns.push_back(std::move(losses));
    }

    void LossRuns::Join()
    {
        if (mRuns.size() < 2)
            return;
        Losses& first = mRuns.front();
        first.mCount = GetTotal();
        first.mIsAnnounced = mRuns.back().mIsAnnounced;
        mRuns.resize(1);
        // Once only: runs can be joined again and again before they are reported. Last, since it needs memory.
        if (!first.mReason.ends_with(kOthers))
            first.mReason.append(kOthers);
    }
}
