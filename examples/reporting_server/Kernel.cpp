#include "Kernel.h"

#include "Messages.h"

#include <QzLog/Log.h>
#include <QzLog/ScopeGuard.h>

namespace ReportingServer
{
    unsigned int Kernel::SignIn(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        if (request.GetAttribute("password").empty())
        {
            QzLog::Log(*mChannel.mError, kPasswordMissing, request.mUser);
            return guard.SetReturnCode(static_cast<unsigned int>(kPasswordMissing));
        }
        {
            std::lock_guard const hold(mLock);
            mSessions[request.mSession] = request.mUser;
        }
        QzLog::Log(*mChannel.mInfo, kSignedIn, request.mUser, request.GetAttribute("project"));
        return guard.SetReturnCode(kDone);
    }

    unsigned int Kernel::SignOut(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        {
            std::lock_guard const hold(mLock);
            mSessions.erase(request.mSession);
        }
        QzLog::Log(*mChannel.mInfo, kSignedOut, request.mUser);
        return guard.SetReturnCode(kDone);
    }

    unsigned int Kernel::ChangePassword(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        QzLog::Log(*mChannel.mInfo, kPasswordChanged, request.mUser);
        return guard.SetReturnCode(kDone);
    }

    unsigned int Kernel::TellStatus(Request const&)
    {
        std::size_t count = 0;
        {
            std::lock_guard const hold(mLock);
            count = mSessions.size();
        }
        QzLog::Log(*mChannel.mInfo, kStatusTold, count);
        return kDone;
    }

    bool Kernel::IsSignedIn(std::string const& session)
    {
        std::lock_guard const hold(mLock);
        return mSessions.contains(session);
    }
}
