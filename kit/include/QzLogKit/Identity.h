#pragma once

#include <QzLog/ThreadSpecificLogInfo.h>
#include <QzLogKit/Export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace QzLogKit
{
    /// On whose behalf a thread works, UTF-8. What is not given stays as it is on the thread; an empty text clears the
    /// ID. The texts are read by the constructor of the guard only.
    struct Identity
    {
        std::optional<std::string_view> mUserID = {};
        std::optional<std::string_view> mSessionID = {};
        std::optional<std::string_view> mObjectID = {};
        std::optional<std::uint64_t> mParentThreadID = {};
    };

    /// Gives the calling thread an identity, and restores the one from before when it is destroyed. Guards nest:
    ///
    ///     QzLogKit::IdentityGuard const request({.mUserID = user, .mSessionID = session});
    ///     for (Report const& report : reports)
    ///     {
    ///         QzLogKit::IdentityGuard const one({.mObjectID = report.mName}); // user and session stay
    ///         ...
    ///     }
    ///
    /// IDs come from outside, so they are cleaned: see CleanField. Otherwise a user name with a line end and a header
    /// would be a record that nobody wrote, and one with "]" would shift the fields after it.
    ///
    /// Constructed and destroyed on one thread, the last one first. The constructor throws std::bad_alloc, and
    /// QzBase::Message while no Initializer is alive.
    class QZLOGKIT_API IdentityGuard
    {
    public:
        [[nodiscard]] explicit IdentityGuard(Identity const& identity);

        /// For a thread that takes over the work of another one: exactly the identity that
        /// QzLog::GetThreadSpecificLogInfo returned there, with the IDs that are empty in it.
        [[nodiscard]] explicit IdentityGuard(QzLog::ThreadSpecificLogInfo const& info);

        /// Never throws. Does nothing if the module has ended meanwhile. If there is no memory, the thread may be left
        /// with a part of its identity.
        ~IdentityGuard();

        IdentityGuard(IdentityGuard const&) = delete;
        IdentityGuard& operator=(IdentityGuard const&) = delete;

    private:
        void Set(QzLog::ThreadSpecificLogInfo const& info);

        std::shared_ptr<QzLog::ThreadSpecificLogInfo> const mpPrevious;
    };

    /// The session ID that carries a W3C trace context:
    ///
    ///     trace=<32 hexadecimal digits of the trace>-<16 of the parent span>
    ///
    /// in lower case. `qzlog view --otlp` reads it back as trace and span of a record.
    ///
    ///     std::string const session = QzLogKit::TraceSession(request.GetHeader("traceparent"));
    ///     QzLogKit::IdentityGuard const guard({.mSessionID = session});
    ///
    /// \param traceParent  the value of the header "traceparent", such as
    ///                     "00-0af7651916cd43dd8448eb211c80319c-b7ad6b7169203331-01".
    /// \return  empty if it is none, as the standard has it: in capitals, with an ID of zeros, of version ff.
    QZLOGKIT_API std::string TraceSession(std::string_view traceParent);
}
