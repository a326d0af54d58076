// Uses the kit as a stranger would: a handle, a wrapped destination, and an exception of the core that came through the
// kit.

#include <QzLog/QzLog.h>
#include <QzLogKit/Clean.h>
#include <QzLogKit/DestinationList.h>
#include <QzLogKit/Destination_RateLimit.h>
#include <QzLogKit/Identity.h>
#include <QzLogKit/LoggerHandle.h>

namespace
{
    constinit QzLogKit::LoggerHandle<"Info", "Error"> gLog("Consumer");
}

int main()
{
    try
    {
        QzLogKit::IdentityGuard const early({.mUserID = "alice"});
        return 1;
    }
    catch (QzBase::Message&)
    {
    }
    QzLog::Initializer const module;
    QzLogKit::IdentityGuard const identity({.mUserID = "alice]"});
    gLog.To<"Info">().GetDispatcher()->SetDestinations(
        QzLogKit::CreateDestinationList(QzLogKit::CreateDestination_RateLimit(*QzLog::GetDestination_DebugOutput(),
            {.mMessages = 1, .mPeriod = std::chrono::hours(1)}, QzLogKit::RateLimitPer::kDispatcher)));
    for (int i = 0; i < 3; ++i)
        QzLog::Log(gLog.To<"Info">(), "Hello from the %1", QzLogKit::Clean("kit\n"));
    return 0;
}
