#include <QzLog/Log.h>

#include "message/CallFrame.h"
#include "routing/ErrnoGuard.h"
#include "routing/MessageText.h"

#include <QzBase/Conversions.h>

#include <string>

// Each function here is the first of the library's frames in a call stack and calls the router itself. The test
// of mEnabled comes before everything else, so that a disabled call is that one read: compilers set up the frame
// behind it.

namespace QzLog
{
    namespace
    {
        bool IsEnabled(Router const& router) noexcept
        {
            return router.mEnabled.load(std::memory_order_relaxed);
        }

        /// The text is finished, so it goes in as an argument: what looks like a number in it is none.
        [[noreturn]] void ThrowBaseException(std::string const& text, int id)
        {
            QzBase::Message message(QzBase::MESSAGE_DOMAIN_UNKNOWN, id, "%1");
            message << QzBase::UTF8ToWideChar(text.c_str(), true).c_str();
            throw QzBase::ExceptionImpl<QzBase::Message>(std::move(message));
        }
    }

    QzResource::MessageFormatter& GetMessageFormatter()
    {
        return QzResource::GetMessageFormatter();
    }

    QZLOG_CALL_FRAME void LogMessage(Router& router, char const* templateText, QzResource::MessageFormatter& formatter,
        char const*, char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        ErrnoGuard const keepErrno;
        char const* const text = formatter.Format(QzResource::GetMessageTemplate(templateText));
        router.LogText(text, 0, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void LogMessage(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        ErrnoGuard const keepErrno;
        QzBase::ReturnPtrI<MessageCatalog> const catalog = router.GetMessageCatalog();
        char const* const text = FormatMessageText(catalog.get(), messageID, formatter, catalogContext);
        router.LogText(text, messageID, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void LogString(
        Router& router, char const* text, char const*, char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        router.LogText(text, 0, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void LogString(Router& router, unsigned int messageID, char const* catalogContext,
        char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        ErrnoGuard const keepErrno;
        QzBase::ReturnPtrI<MessageCatalog> const catalog = router.GetMessageCatalog();
        QzBase::ReturnString const text = GetMessageText(catalog.get(), messageID, catalogContext);
        router.LogText(text.c_str(), messageID, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void LogMessage4NP(Router& router, char const* text, QzResource::MessageFormatter&, char const*,
        char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        router.LogText(text, 0, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void LogMessage4NP(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        ErrnoGuard const keepErrno;
        QzBase::ReturnPtrI<MessageCatalog> const catalog = router.GetMessageCatalog();
        char const* const text = FormatMessageText(catalog.get(), messageID, formatter, catalogContext);
        router.LogText(text, messageID, fileName, functionName, lineNumber);
    }

    // The texts are copied before they are logged: they are still to be thrown, and a destination may use the
    // formatters meanwhile. The catalog is given back before, too.

    QZLOG_CALL_FRAME void LogMessageAndThrowBaseException(
        Router& router, char const* templateText, QzResource::MessageFormatter& formatter, char const*)
    {
        std::string const text(formatter.Format(QzResource::GetMessageTemplate(templateText)));
        router.LogText(text.c_str(), 0, nullptr, nullptr, 0);
        ThrowBaseException(text, -1);
    }

    QZLOG_CALL_FRAME void LogMessageAndThrowBaseException(
        Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter, char const* catalogContext)
    {
        std::string const text(
            FormatMessageText(router.GetMessageCatalog().get(), messageID, formatter, catalogContext));
        router.LogText(text.c_str(), messageID, nullptr, nullptr, 0);
        ThrowBaseException(text, static_cast<int>(messageID));
    }

    QZLOG_CALL_FRAME void LogStringAndThrowBaseException(Router& router, char const* text, char const*)
    {
        std::string const copy(text ? text : "");
        router.LogText(text ? copy.c_str() : nullptr, 0, nullptr, nullptr, 0);
        ThrowBaseException(copy, -1);
    }

    QZLOG_CALL_FRAME void LogStringAndThrowBaseException(
        Router& router, unsigned int messageID, char const* catalogContext)
    {
        std::string const text(GetMessageText(router.GetMessageCatalog().get(), messageID, catalogContext).c_str());
        router.LogText(text.c_str(), messageID, nullptr, nullptr, 0);
        ThrowBaseException(text, static_cast<int>(messageID));
    }
}
