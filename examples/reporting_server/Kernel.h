#pragma once

#include "Channel.h"
#include "Request.h"

#include <map>
#include <mutex>
#include <string>

namespace ReportingServer
{
    /// Who is signed in. The operations may be called from any thread. They throw QzBase::Message.
    class Kernel
    {
    public:
        explicit Kernel(Channel const& channel) : mChannel(channel) {}

        unsigned int SignIn(Request const& request);
        unsigned int SignOut(Request const& request);
        unsigned int ChangePassword(Request const& request);
        unsigned int TellStatus(Request const& request);

        bool IsSignedIn(std::string const& session);

    private:
        Channel const& mChannel;

        // Guards the users by session. Nothing is logged under it: a log call can take as long as a disk.
        std::mutex mLock;
        std::map<std::string, std::string> mSessions;
    };
}
