#include <QzLogKit/Identity.h>

#include <QzLogKit/Clean.h>

#include <algorithm>

namespace QzLogKit
{
    namespace
    {
        QzLog::ThreadSpecificLogInfo Merged(QzLog::ThreadSpecificLogInfo info, Identity const& identity)
        {
            info.userID = identity.mUserID.value_or(info.userID);
            info.sessionID = identity.mSessionID.value_or(info.sessionID);
            info.objectID = identity.mObjectID.value_or(info.objectID);
            info.parentThreadID = identity.mParentThreadID.value_or(info.parentThreadID);
            return info;
        }

        bool AreHexDigits(std::string_view text)
        {
            return std::all_of(
                text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
        }

        bool IsID(std::string_view text)
        {
            return AreHexDigits(text) && text.find_first_not_of('0') != std::string_view::npos;
        }
    }

    IdentityGuard::IdentityGuard(Identity const& identity) : mpPrevious(QzLog::GetThreadSpecificLogInfo())
    {
        QzLog::ThreadSpecificLogInfo info = Merged(*mpPrevious, identity);
        for (std::string* const id : {&info.userID, &info.sessionID, &info.objectID})
            *id = CleanField(*id);
        Set(info);
    }

    IdentityGuard::IdentityGuard(QzLog::ThreadSpecificLogInfo const& info)
        : IdentityGuard(Identity{info.userID, info.sessionID, info.objectID, info.parentThreadID})
    {
    }

    IdentityGuard::~IdentityGuard()
    {
        try
        {
            Set(*mpPrevious);
        }
        catch (...)
        {
            // The module has ended, and with it the identity; or there is no memory.
        }
    }

    void IdentityGuard::Set(QzLog::ThreadSpecificLogInfo const& info)
    {
        // An empty text in the structure would leave what is there.
        QzLog::ClearThreadSpecificLogInfo();
        QzLog::SetThreadSpecificLogInfo(info);
    }

    std::string TraceSession(std::string_view traceParent)
    {
        // version "-" trace "-" span "-" flags; versions after the first may go on after another "-".
        constexpr std::size_t kSize = sizeof("00-0af7651916cd43dd8448eb211c80319c-b7ad6b7169203331-01") - 1;
        if (traceParent.size() < kSize || traceParent[2] != '-' || traceParent[35] != '-' || traceParent[52] != '-')
            return {};
        std::string_view const version = traceParent.substr(0, 2);
        std::string_view const trace = traceParent.substr(3, 32);
        std::string_view const span = traceParent.substr(36, 16);
        bool const isRestGood = traceParent.size() == kSize || (version != "00" && traceParent[kSize] == '-');
        if (!AreHexDigits(version) || version == "ff" || !IsID(trace) || !IsID(span) ||
            !AreHexDigits(traceParent.substr(53, 2)) || !isRestGood)
            return {};
        return "trace=" + std::string(trace) + "-" + std::string(span);
    }
}
