#pragma once

#include <QzSynch/ThreadLocalStorage.h>

#include <cstdint>

namespace QzLog
{
    class MessageBody_Impl;
    class MessageHeader_Impl;

    /// What one thread keeps for its messages. Touched by that thread only, so nothing here is locked. What
    /// the getters return is valid for the context's life, and no reference is taken.
    class ThreadContext : public QzSynch::ThreadContext
    {
    public:
        virtual MessageHeader_Impl* GetMessageHeader() = 0;
        virtual MessageBody_Impl* GetMessageBody() = 0;
        virtual std::uint64_t& EpisodeNumber() = 0;
        virtual void SetParentThreadID(std::uint64_t threadID) = 0;
        virtual std::uint64_t GetParentThreadID() = 0;

        /// The present server instance name in UTF-8, kept here so that a message neither converts nor copies
        /// it. Valid until the next call.
        virtual char const* GetServerName() = 0;
    };
}
