#include "Channel.h"

#include "Catalog.h"

#include <QzLog/Logger.h>

namespace ReportingServer
{
    Channel::Channel(char const* loggerName, QzLog::MessageCatalog& catalog)
        : mTrace(QzLog::CreateRouter(loggerName, "Trace")),
          mInfo(QzLog::CreateRouter(loggerName, "Info")),
          mError(QzLog::CreateRouter(loggerName, "Error"))
    {
        mInfo->GetLogger()->SetMessageCatalog(&catalog);
    }

    Channels::Channels() : mpCatalog(new Catalog) {}
}
