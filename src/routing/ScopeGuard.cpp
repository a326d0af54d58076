#define QZLOG_CALLS_ARE_DEFINED_HERE
#include <QzLog/ScopeGuard.h>

#include "os/Cancellation.h"
#include "routing/ErrnoGuard.h"
#include "routing/LogCall.h"

#include <QzResource/MessageFormatter.h>

namespace QzLog
{
    namespace
    {
        /// Formats and logs one line, and drops whatever that throws. glibc cancels a thread by unwinding it with an
        /// exception of its own, which must not be dropped: no cancellation inside.
        template <class Insert>
        void LogLine(Router& router, char const* templateText, Insert insert) noexcept
        {
            ErrnoGuard const keepErrno;
            QzOs::NoCancellation const hold;
            try
            {
                QzResource::MessageTemplate const& messageTemplate = QzResource::GetMessageTemplate(templateText);
                QzResource::MessageFormatter& formatter = QzResource::GetMessageFormatter();
                FormatterOfCall const formatterOfCall(&formatter);
                insert(formatter);
                router.LogText(formatter.Format(messageTemplate), 0, nullptr, nullptr, 0);
            }
            catch (...)
            {
            }
        }
    }

    ScopeGuard::ScopeGuard(
        Router& router, char const* scopeName, char const* fileName, unsigned short lineNumber) noexcept
        : mpScopeName(scopeName), mpFileName(fileName), mLineNumber(lineNumber)
    {
        if (scopeName && IsEnabled(router))
            Enter(router);
    }

    ScopeGuard::ScopeGuard(
        Router& router, unsigned short const*, char const* fileName, unsigned short lineNumber) noexcept
        : mpScopeName("[use char* as function name to see it]"), mpFileName(fileName), mLineNumber(lineNumber)
    {
        if (IsEnabled(router))
            Enter(router);
    }

    ScopeGuard::ScopeGuard(ScopeGuard const& other) noexcept = default;
    ScopeGuard& ScopeGuard::operator=(ScopeGuard const& other) noexcept = default;

    ScopeGuard::~ScopeGuard()
    {
        if (mpRouter && IsEnabled(*mpRouter))
            Leave();
    }

    void ScopeGuard::Enter(Router& router) noexcept
    {
        mpRouter = &router;
        LogLine(router, "Enter '%1' near %2(%3)",
            [this](QzResource::MessageFormatter& formatter) { formatter << mpScopeName << mpFileName << mLineNumber; });
    }

    void ScopeGuard::Leave() noexcept
    {
        if (mReturnCodeIsSet != 0)
        {
            LogLine(*mpRouter, "Leave '%1' near %2(%3) with %4",
                [this](QzResource::MessageFormatter& formatter) {
                    formatter << mpScopeName << mpFileName << mLineNumber << QzResource::MessageFormat::WideHex
                              << mReturnCode;
                });
            return;
        }
        LogLine(*mpRouter, "Leave '%1' near %2(%3)",
            [this](QzResource::MessageFormatter& formatter) { formatter << mpScopeName << mpFileName << mLineNumber; });
    }

    char const* ScopeGuard::GetScopeName() const noexcept
    {
        return mpScopeName;
    }

    int ScopeGuard::SetReturnCode(int code, unsigned short lineNumber) noexcept
    {
        StoreReturnCode(static_cast<std::uint32_t>(code), lineNumber);
        return code;
    }

    unsigned int ScopeGuard::SetReturnCode(unsigned int code, unsigned short lineNumber) noexcept
    {
        StoreReturnCode(code, lineNumber);
        return code;
    }

    long ScopeGuard::SetReturnCode(long code, unsigned short lineNumber) noexcept
    {
        StoreReturnCode(static_cast<std::uint32_t>(code), lineNumber);
        return code;
    }

    unsigned long ScopeGuard::SetReturnCode(unsigned long code, unsigned short lineNumber) noexcept
    {
        StoreReturnCode(static_cast<std::uint32_t>(code), lineNumber);
        return code;
    }

    void ScopeGuard::StoreReturnCode(std::uint32_t code, unsigned short lineNumber) noexcept
    {
        mReturnCode = code;
        mReturnCodeIsSet = 1;
        mLineNumber = lineNumber;
    }
}
