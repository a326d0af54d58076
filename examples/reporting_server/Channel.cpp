#include "Channel.h"

#include <QzSynch/Locks.h>

namespace ReportingServer
{
    namespace
    {
        QzBase::CountedPtr<QzLog::Router> MakeRouter(char const* loggerName, char const* dispatcherName)
        {
            return QzLog::CreateRouter(loggerName, dispatcherName, QzSynch::kLockStackCategoryDefault);
        }
    }

    Channel::Channel(char const* loggerName)
        : mTrace(MakeRouter(loggerName, kDispatchers[0])),
          mInfo(MakeRouter(loggerName, kDispatchers[1])),
          mError(MakeRouter(loggerName, kDispatchers[2]))
    {
    }
}
