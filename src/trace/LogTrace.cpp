#include <QzLog/LogTrace.h>

#include "support/synch/ForkSafeLocks.h"

namespace QzLog
{
    LogTrace::LogTrace()
        : mStartTime(QzDataType::DateTime::Now()),
          mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault))
    {
    }

    LogTrace::~LogTrace() = default;

    void LogTrace::CollectLogTrace() {}

    long LogTrace::PrintAllLogTrace()
    {
        return 0;
    }

    void LogTrace::Clear() {}

    void LogTrace::SetFileName(unsigned short const* fileName)
    {
        if (fileName)
            mFileName = fileName;
        else
            mFileName.clear();
    }
}
