#include "Channel.h"

namespace ReportingServer
{
    Channel::Channel(char const* loggerName)
        : mTrace(QzLog::CreateRouter(loggerName, kDispatchers[0])),
          mInfo(QzLog::CreateRouter(loggerName, kDispatchers[1])),
          mError(QzLog::CreateRouter(loggerName, kDispatchers[2]))
    {
    }
}
