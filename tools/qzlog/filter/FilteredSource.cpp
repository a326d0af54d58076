#include "filter/FilteredSource.h"

#include <utility>

namespace QzLogTool
{
    bool FilteredSource::Next(Record& record)
    {
        while (mpSource->Next(record))
        {
            if (record.mKind == Record::Kind::Head)
            {
                if (record.mOffset == 0)
                    continue;
                record.mKind = Record::Kind::Loose;
            }
            bool const isWanted = IsWanted(record);
            if (isWanted || mFilter.KeepsOthers())
            {
                bool const isThere = !mHasReadOn || GiveAgain(record);
                record.mIsWanted = isWanted;
                return isThere;
            }
            // What this record lacks the next ones tend to lack too.
            if (Needle const* const pMissing = mFilter.GetMissing())
                mpSource->SetNeedle(*pMissing);
        }
        return false;
    }

    bool FilteredSource::IsWanted(Record const& record)
    {
        if (std::exchange(mHasReadOn, false))
            mKept.Clear();
        mpExamined = &record;
        bool const isWanted = mFilter.IsWanted(record, *this);
        mpExamined = nullptr;
        return isWanted;
    }

    /// Gives the record that the filter has read on in from its start.
    bool FilteredSource::GiveAgain(Record& record)
    {
        if (!mpSource->CanGoBack())
            return mKept.TakeNext(record.mText);
        mpSource->Again();
        return mpSource->Next(record);
    }

    bool FilteredSource::NextPart(std::string_view& text)
    {
        if (!mpExamined)
            return mKept.TakeNext(text) || mpSource->NextPart(text);
        bool const isFirst = !std::exchange(mHasReadOn, true);
        bool const keeps = !mpSource->CanGoBack();
        if (keeps && isFirst)
            mKept.Add(mpExamined->mText);
        bool const hasPart = mpSource->NextPart(text);
        if (keeps && hasPart)
            mKept.Add(text);
        return hasPart;
    }
}
