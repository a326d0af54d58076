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
        for (Record record; mpSource->Next(record);)
        {
            if (mCount == 0)
                continue;
            Kept kept;
            // What goes out gives its memory to what comes in.
            if (mKept.size() == mCount)
            {
                kept = std::move(mKept.front());
                mKept.pop_front();
            }
            kept.mRecord = record;
            kept.mText = record.mText;
            while (mpSource->NextPart(part))
                kept.mText += part;
            kept.mRecord.mIsWhole = true;
            kept.mRecord.mpPath = nullptr;
            mKept.push_back(std::move(kept));
        }
        mpSource.reset();
    }
}
