#pragma once

#include <QzLog/Router.h>

namespace ReportingServer
{
    /// The three routers of one logger: how a part of the server speaks. Made once; any thread may use it.
    struct Channel
    {
        explicit Channel(char const* loggerName);

        QzBase::CountedPtr<QzLog::Router> mTrace;
        QzBase::CountedPtr<QzLog::Router> mInfo;
        QzBase::CountedPtr<QzLog::Router> mError;
    };

    /// The loggers and dispatchers of this server, which a configuration file may route.
    inline constexpr char const* kLoggers[] = {"Kernel", "Engine", "Network"};
    inline constexpr char const* kDispatchers[] = {"Trace", "Info", "Error"};

    /// The channels of the server.
    struct Channels
    {
        Channel mKernel{kLoggers[0]};
        Channel mEngine{kLoggers[1]};
        Channel mNetwork{kLoggers[2]};
    };
}
