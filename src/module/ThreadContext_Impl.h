#pragma once

#include "message/MessageBody_Impl.h"
#include "message/MessageHeader_Impl.h"
#include "module/ServerInstanceName.h"
#include "os/Fork.h"
#include "root/ThreadContext.h"

#include <QzBase/CountedPtr.h>

namespace QzLog
{
    class ThreadContext_Impl final : public ThreadContext
    {
    public:
        /// For the calling thread. `serverInstanceName` must outlive the context.
        ThreadContext_Impl(char const* machineName, ServerInstanceName const& serverInstanceName);

        void Delete() override { delete this; }
        MessageHeader_Impl* GetMessageHeader() override { return mpHeader.get(); }
        MessageBody_Impl* GetMessageBody() override { return mpBody.get(); }
        std::uint64_t& EpisodeNumber() override { return mEpisodeNumber; }
        void SetParentThreadID(std::uint64_t threadID) override { mParentThreadID = threadID; }
        std::uint64_t GetParentThreadID() override { return mParentThreadID; }
        char const* GetServerName() override;

        /// Sets process and thread ID of the header if the process has forked since.
        void FollowFork()
        {
            if (mForkGeneration != QzOs::GetForkGeneration()) [[unlikely]]
                SetProcessAndThread();
        }

    private:
        void SetProcessAndThread();

        std::uint64_t mParentThreadID = 0;
        QzBase::CountedPtr<MessageHeader_Impl> mpHeader;
        QzBase::CountedPtr<MessageBody_Impl> mpBody;
        std::uint64_t mEpisodeNumber = 0;
        ServerInstanceName const& mServerInstanceName;
        ServerInstanceName::Copy mServerName;
        unsigned int mForkGeneration;
    };
}
