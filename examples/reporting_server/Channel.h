#pragma once

#include <QzLog/LogFunctions.h>

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

    /// Where a log call stands in the source.
    struct Place
    {
        char const* mpFile;
        char const* mpFunction;
        int mLine;
    };

#define RS_HERE                                                                                                        \
    ::ReportingServer::Place                                                                                           \
    {                                                                                                                  \
        __FILE__, __func__, __LINE__                                                                                   \
    }

    /// Logs a message of the catalog. While nobody listens it costs the test: no value is inserted.
    template <class... Values>
    void LogID(QzLog::Router& router, Place const& place, unsigned int messageID, Values const&... values)
    {
        if (!router.mEnabled)
            return;
        QzResource::MessageFormatter& formatter = QzLog::GetMessageFormatter();
        (formatter << ... << values);
        QzLog::LogMessage(router, messageID, formatter, nullptr, place.mpFile, place.mpFunction, place.mLine);
    }

    /// Logs a structured message, in the language of each destination. The router's own operation leaves the
    /// question whether anybody listens to its caller.
    inline void LogStructured(QzLog::Router& router, QzBase::Message const& message)
    {
        if (router.mEnabled)
            router.LogBaseMessage(message);
    }
}
