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
    // The logging module registers here how a thread's log identity is read, set and cleared, so that
    // code below it (thread pools above all) can carry an identity from one thread to another. May be
    // called from any thread. A later registration replaces the earlier one. A call that has begun on
    // another thread may still be running when it is replaced or taken away. An empty function counts as
    // none. Registering throws std::bad_alloc.

    QZLOG_API void RegisterThreadSpecificLogInfoGetter(
        std::function<std::shared_ptr<QzLog::ThreadSpecificLogInfo>()>&& getter);
    QZLOG_API void RegisterThreadSpecificLogInfoSetter(std::function<void(QzLog::ThreadSpecificLogInfo*)>&& setter);
    QZLOG_API void RegisterThreadSpecificLogInfoUnsetter(std::function<void()>&& unsetter);

    QZLOG_API void DeregisterThreadSpecificLogInfoGetter();
    QZLOG_API void DeregisterThreadSpecificLogInfoSetter();
    QZLOG_API void DeregisterThreadSpecificLogInfoUnsetter();

    // What a thread pool calls: the three go to what is registered, on the calling thread, with no lock
    // held, and do nothing (the first gives null) while nothing is. What the function throws passes.

    QZLOG_API std::shared_ptr<QzLog::ThreadSpecificLogInfo> CaptureThreadSpecificLogInfo();
    QZLOG_API void ApplyThreadSpecificLogInfo(QzLog::ThreadSpecificLogInfo* info);
    QZLOG_API void ResetThreadSpecificLogInfo();
}
