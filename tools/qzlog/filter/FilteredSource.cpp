#include "filter/FilteredSource.h"

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
            if (!mFilter.IsWanted(record, *mpSource))
            {
                // What this record lacks the next ones tend to lack too.
                if (Needle const* const pMissing = mFilter.GetMissing())
                    mpSource->SetNeedle(*pMissing);
                continue;
            }
            // The filter may have read on in it. What comes again is the same record.
            if (!record.mIsWhole && mpSource->Again())
                return mpSource->Next(record);
            return true;
        }
        return false;
    }
}
