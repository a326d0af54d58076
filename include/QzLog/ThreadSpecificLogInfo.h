#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <cstdint>
#include <memory>
#include <string>

// The identity that a thread's messages carry: user, session and object. An ID that is set is shown on every
// later message of that thread until it is changed, and on no message of another thread.
//
// All functions work on the calling thread. They throw QzBase::Message while no Initializer is alive.

namespace QzLog
{
    /// A copy of one thread's identity, to be passed to another thread. A value: later changes on the thread
    /// do not change it. Texts are UTF-8.
    struct QZLOG_API ThreadSpecificLogInfo
    {
        std::string userID;
        std::string sessionID;
        std::string objectID;
        std::uint64_t parentThreadID = 0;
    };

    // The setters take UTF-16; null clears the ID.

    QZLOG_API void SetUserIDToThreadContext(unsigned short const* userID);
    QZLOG_API void SetSessionIDToThreadContext(unsigned short const* sessionID);
    QZLOG_API void SetObjectIDToThreadContext(unsigned short const* objectID);
    QZLOG_API QzBase::ReturnWString GetObjectIDFromThreadContext();

    /// The thread that this one works for, 0 for none. It is stored and passed on, and no message shows it.
    QZLOG_API void SetParentThreadIDToThreadContext(std::uint64_t threadID);

    /// The thread's identity in a new structure.
    QZLOG_API std::shared_ptr<ThreadSpecificLogInfo> GetThreadSpecificLogInfo();

    /// Gives the thread an identity. An empty text leaves that ID unchanged. The parent thread ID is always
    /// set, even if it is 0.
    QZLOG_API void SetThreadSpecificLogInfo(ThreadSpecificLogInfo const& info);

    /// Clears user, session and object ID and sets the parent thread ID to 0. The episode number stays.
    QZLOG_API void ClearThreadSpecificLogInfo();

    /// Gives the thread an identity, and clears the thread's identity when it is destroyed. It does not restore
    /// the previous identity: after the inner of two nested guards the thread has none.
    class QZLOG_API ThreadSpecificLogInfoSwitchGuard
    {
    public:
        /// \param info  copied; null sets nothing.
        [[nodiscard]] explicit ThreadSpecificLogInfoSwitchGuard(ThreadSpecificLogInfo* info);

        /// Never throws. Does nothing if the module has ended meanwhile.
        ~ThreadSpecificLogInfoSwitchGuard();

        ThreadSpecificLogInfoSwitchGuard(ThreadSpecificLogInfoSwitchGuard const&) = delete;
        ThreadSpecificLogInfoSwitchGuard& operator=(ThreadSpecificLogInfoSwitchGuard const&) noexcept { return *this; }
    };
}
