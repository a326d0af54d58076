#include "Kernel.h"

#include "Messages.h"

#include <QzLog/ScopeGuard.h>

namespace ReportingServer
{
    unsigned int Kernel::SignIn(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        if (request.GetAttribute("password").empty())
        {
            LogID(*mChannel.mError, RS_HERE, kPasswordMissing, request.mUser);
            return guard.SetReturnCode(static_cast<unsigned int>(kPasswordMissing), __LINE__);
        }
        {
            std::lock_guard const hold(mLock);
            mSessions[request.mSession] = request.mUser;
        }
        LogID(*mChannel.mInfo, RS_HERE, kSignedIn, request.mUser, request.GetAttribute("project"));
        return guard.SetReturnCode(kDone, __LINE__);
    }

    unsigned int Kernel::SignOut(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        {
            std::lock_guard const hold(mLock);
            mSessions.erase(request.mSession);
        }
        LogID(*mChannel.mInfo, RS_HERE, kSignedOut, request.mUser);
        return guard.SetReturnCode(kDone, __LINE__);
    }

    unsigned int Kernel::ChangePassword(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        LogID(*mChannel.mInfo, RS_HERE, kPasswordChanged, request.mUser);
        return guard.SetReturnCode(kDone, __LINE__);
    }

    unsigned int Kernel::TellStatus(Request const&)
    {
        std::size_t count = 0;
        {
            std::lock_guard const hold(mLock);
            count = mSessions.size();
        }
        LogID(*mChannel.mInfo, RS_HERE, kStatusTold, count);
        return kDone;
    }

    bool Kernel::IsSignedIn(std::string const& session)
    {
        std::lock_guard const hold(mLock);
        return mSessions.contains(session);
    }
}
