#include "filter/Context.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        // Memory of a record that was shorter is used again.
        constexpr std::size_t kShort = 4096;
    }

    bool Context::Next(RecordSource& source, Record& record)
    {
        while (!mHasWaiting)
        {
            if (IsDone() || !source.Next(record))
                return false;
            bool const isWanted = std::exchange(record.mIsWanted, record.mIsWanted && mWanted < mMost);
            if (isWanted && record.mIsWanted)
                Await(record);
            else if (mAfterLeft != 0)
            {
                --mAfterLeft;
                Give(record, false);
                return true;
            }
            else
                Keep(record);
        }
        if (mKept.empty())
        {
            record = mWaiting;
            mHasWaiting = false;
            Give(record, false);
            return true;
        }
        mCurrent = std::move(mKept.front());
        mKept.pop_front();
        record = mCurrent.mRecord;
        record.mText = mCurrent.mText;
        Give(record, true);
        return true;
    }

    void Context::Keep(Record const& record)
    {
        ++mPassed;
        if (mBefore == 0)
            return;
        // One that is not whole is larger than all that may be kept.
        std::size_t const size = record.mText.size() + sizeof(Kept);
        while (!mKept.empty() && (mKept.size() == mBefore || !record.mIsWhole || mKeptBytes + size > kMostBytes))
            DropOldest();
        if (!record.mIsWhole || size > kMostBytes)
            return;
        Kept kept{record, {}};
        if (mCurrent.mText.capacity() <= kShort)
            kept.mText = std::move(mCurrent.mText);
        kept.mText = record.mText;
        kept.mRecord.mpPath = nullptr;
        mKeptBytes += size;
        mKept.push_back(std::move(kept));
    }

    void Context::DropOldest()
    {
        mKeptBytes -= mKept.front().mText.size() + sizeof(Kept);
        mCurrent.mText = std::move(mKept.front().mText);
        mKept.pop_front();
    }

    /// A wanted record has come: what was kept stands before it.
    void Context::Await(Record const& record)
    {
        mWaiting = record;
        mHasWaiting = true;
        ++mWanted;
        mAfterLeft = mAfter;
        mHasGap = mHasGiven && mPassed > mKept.size();
        mLeftOut += std::min(mPassed, mBefore) - mKept.size();
        mPassed = 0;
        mKeptBytes = 0;
    }

    void Context::Give(Record& record, bool isKept)
    {
        mIsKept = isKept;
        record.mFollowsGap = std::exchange(mHasGap, false);
        mHasGiven = true;
    }
}
