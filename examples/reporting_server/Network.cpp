#include "Network.h"

#include "Messages.h"
#include "Secrets.h"

#include <QzLog/Log.h>
#include <QzLog/ScopeGuard.h>

namespace ReportingServer
{
    unsigned int Network::TakeBody(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        QzLog::Log(*mChannel.mInfo, kBodyReceived, request.GetAttribute("method"), request.GetAttribute("path"),
            DescribeBody(request));
        return guard.SetReturnCode(kDone);
    }

    unsigned int Network::GreetPeer(Request const& request)
    {
        QzLog::Log(*mChannel.mTrace, kPeerAlive, request.GetAttribute("node"));
        return kDone;
    }
}
