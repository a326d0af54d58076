#pragma once

#include <QzBase/Export.h>

#include <functional>
#include <memory>

namespace QzLog
{
    struct ThreadSpecificLogInfo;
}

namespace QzSynch
{
    // The logging module registers here how a thread's log identity is read, set and cleared. So code
    // below the module, such as a thread pool, can carry an identity from one thread to another. All may be
    // called from any thread. A later registration replaces the earlier one. A function that is replaced or
    // deregistered may still be running on another thread. An empty function counts as none. Registering
    // throws std::bad_alloc.

    QZLOG_API void RegisterThreadSpecificLogInfoGetter(
        std::function<std::shared_ptr<QzLog::ThreadSpecificLogInfo>()>&& getter);
    QZLOG_API void RegisterThreadSpecificLogInfoSetter(std::function<void(QzLog::ThreadSpecificLogInfo*)>&& setter);
    QZLOG_API void RegisterThreadSpecificLogInfoUnsetter(std::function<void()>&& unsetter);

    QZLOG_API void DeregisterThreadSpecificLogInfoGetter();
    QZLOG_API void DeregisterThreadSpecificLogInfoSetter();
    QZLOG_API void DeregisterThreadSpecificLogInfoUnsetter();

    // For thread pools: each calls the registered function on the calling thread, with no lock held, and lets
    // its exceptions propagate. If none is registered, it does nothing (the first returns null).

    QZLOG_API std::shared_ptr<QzLog::ThreadSpecificLogInfo> CaptureThreadSpecificLogInfo();
    QZLOG_API void ApplyThreadSpecificLogInfo(QzLog::ThreadSpecificLogInfo* info);
    QZLOG_API void ResetThreadSpecificLogInfo();
}
