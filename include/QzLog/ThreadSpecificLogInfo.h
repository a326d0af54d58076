#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <cstdint>
#include <memory>
#include <string>

// The identity that a thread's messages carry: user, session and object. An ID that is set shows on every
// later message of that thread until it is changed, and on no message of another thread.
//
// All functions work on the calling thread. They throw QzBase::Message while no Initializer is alive.

namespace QzLog
{
    /// A copy of one thread's identity, to be carried to another thread. A value: later changes on the thread
    /// do not reach it. Texts are UTF-8.
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

    /// The thread that this one works for, 0 for none. It is kept and carried along, and shows on no message.
    QZLOG_API void SetParentThreadIDToThreadContext(std::uint64_t threadID);

    /// The thread's identity in a new structure.
    QZLOG_API std::shared_ptr<ThreadSpecificLogInfo> GetThreadSpecificLogInfo();

    /// Puts an identity on the thread. An empty text leaves that ID as it is; the parent thread ID is always
    /// taken over, also when it is 0.
    QZLOG_API void SetThreadSpecificLogInfo(ThreadSpecificLogInfo const& info);

    /// Clears user, session and object ID and sets the parent thread ID to 0. The episode number stays.
    QZLOG_API void ClearThreadSpecificLogInfo();

    /// Puts an identity on the thread and clears the thread's identity at its end. It saves nothing: what was
    /// there before does not come back, so of two nested guards the inner one leaves the thread without identity.
    class QZLOG_API ThreadSpecificLogInfoSwitchGuard
    {
    public:
        /// \param info  copied; null puts nothing on.
        explicit ThreadSpecificLogInfoSwitchGuard(ThreadSpecificLogInfo* info);

        /// Never throws: does nothing when the module has ended meanwhile.
        ~ThreadSpecificLogInfoSwitchGuard();

        ThreadSpecificLogInfoSwitchGuard(ThreadSpecificLogInfoSwitchGuard const&) = delete;
        ThreadSpecificLogInfoSwitchGuard& operator=(ThreadSpecificLogInfoSwitchGuard const&) noexcept { return *this; }
    };
}
