#include "reading/LastRecords.h"

namespace QzLogTool
{
    LastRecords::LastRecords(std::unique_ptr<RecordSource> pSource, std::uint64_t count)
        : mpSource(std::move(pSource)), mCount(count)
    {
    }

    bool LastRecords::Next(Record& record)
    {
        if (mpSource)
            Collect();
        if (mKept.empty())
            return false;
        mCurrent = std::move(mKept.front());
        mKept.pop_front();
        record = mCurrent.mRecord;
        record.mText = mCurrent.mText;
        return true;
    }

    void LastRecords::Collect()
    {
        std::string_view part;
        for (Kept kept; mpSource->Next(kept.mRecord);)
        {
            // What goes out gives its memory to what comes in.
            if (mKept.size() == mCount && !mKept.empty())
            {
                kept.mText = std::move(mKept.front().mText);
                mKept.pop_front();
            }
            if (mCount == 0)
                continue;
            kept.mText = kept.mRecord.mText;
            while (mpSource->NextPart(part))
                kept.mText += part;
            kept.mRecord.mIsWhole = true;
            kept.mRecord.mpPath = nullptr;
            mKept.push_back(std::move(kept));
        }
        mpSource.reset();
    }
}
