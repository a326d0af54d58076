#pragma once

#include <QzLog/MessageCatalog.h>
#include <QzLog/Router.h>

namespace ReportingServer
{
    /// The three routers of one logger: how a part of the server speaks. Made once; any thread may use it.
    struct Channel
    {
        /// \param catalog  gives the logger its texts.
        Channel(char const* loggerName, QzLog::MessageCatalog& catalog);

        QzBase::CountedPtr<QzLog::Router> mTrace;
        QzBase::CountedPtr<QzLog::Router> mInfo;
        QzBase::CountedPtr<QzLog::Router> mError;
    };

    /// The channels of the server, which a settings file may route.
    struct Channels
    {
        Channels();

        QzBase::CountedPtr<QzLog::MessageCatalog> const mpCatalog;
        Channel mKernel{"Kernel", *mpCatalog};
        Channel mEngine{"Engine", *mpCatalog};
        Channel mNetwork{"Network", *mpCatalog};
    };
}
