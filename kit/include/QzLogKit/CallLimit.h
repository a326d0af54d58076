#pragma once

#include <QzLog/Router.h>
#include <QzLogKit/Export.h>
#include <QzLogKit/RateLimit.h>

#include <memory>

namespace QzLogKit
{
    /// Limits one source location, and reports in the log what was held back there:
    ///
    ///     static QzLogKit::CallLimit limit({.mMessages = 10, .mPeriod = std::chrono::minutes(1)});
    ///     if (limit.Admits(*error))
    ///         QzLog::Log(*error, "No answer from %1", host);
    ///
    /// The first call after the period precedes its message by a line through the router of the first call that was
    /// held back, with that call's source location:
    ///
    ///     Held back 12345 messages of Client.cpp:77 since 2026-11-18 03:02:07.123-05:00
    ///
    /// Any thread may use it at any time. A forked child counts only what it holds back itself.
    class QZLOGKIT_API CallLimit
    {
    public:
        /// Throws std::bad_alloc.
        explicit CallLimit(RateLimit limit);

        /// Reports what has been held back, unless the module has ended: see ReportHeldBack. Never throws.
        ~CallLimit();

        CallLimit(CallLimit const&) = delete;
        CallLimit& operator=(CallLimit const&) = delete;

        /// Whether to log now. False for a disabled router, which costs one byte read and is not counted. Throws
        /// std::bad_alloc, and what the destinations throw at the line; the count is then kept.
        /// \param fileName  not copied: must outlive this object, as a literal does.
        bool Admits(QzLog::Router& router, char const* fileName = __builtin_FILE(), int lineNumber = __builtin_LINE(),
            char const* functionName = __builtin_FUNCTION())
        {
            return router.mEnabled.load(std::memory_order_relaxed) && Count(router, fileName, lineNumber, functionName);
        }

    private:
        class State;
        friend QZLOGKIT_API void ReportHeldBack();

        bool Count(QzLog::Router& router, char const* fileName, int lineNumber, char const* functionName);

        std::shared_ptr<State> const mpState;
    };

    /// Has all CallLimits of the process report what they have held back, and begins new periods where there was
    /// something to report. For the end of main, while the module still runs: static objects are destroyed after it.
    /// Throws std::bad_alloc, and what the destinations throw; what has not been reported then is kept.
    QZLOGKIT_API void ReportHeldBack();
}
