#include "Network.h"

#include "Kernel.h"
#include "Messages.h"
#include "Secrets.h"

#include <QzLog/ScopeGuard.h>

namespace ReportingServer
{
    unsigned int Network::TakeBody(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        LogID(*mChannel.mInfo, RS_HERE, kBodyReceived, request.GetAttribute("method"), request.GetAttribute("path"),
            DescribeBody(request));
        return guard.SetReturnCode(kDone, __LINE__);
    }

    unsigned int Network::GreetPeer(Request const& request)
    {
        LogID(*mChannel.mTrace, RS_HERE, kPeerAlive, request.GetAttribute("node"));
        return kDone;
    }
}
