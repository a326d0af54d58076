#pragma once

#include <QzBase/Export.h>
#include <QzLog/Format.h>
#include <QzLog/Router.h>
#include <QzResource/MessageFormatter.h>

// What QzLog::Log (QzLog/Log.h) calls: the functions that take values and source location as arguments. They run wholly
// on the calling thread and return when every destination has returned. Any thread may call them at any time; they
// leave errno as they found it.
//
// The functions without "Throw" test router.mEnabled first and cost one byte read if it is false: nothing is looked up
// or formatted. They throw only what a catalog, a formatter or a destination throws.
//
// The second argument chooses between a text and a message ID:
//   - A text is UTF-8, of any length, and is logged with the message ID 0.
//   - An ID stands for a text of the logger's MessageCatalog in the process language, and travels with the
//     message. On a logger without a catalog the text is "Message 0x%08X" with the ID in it, followed by the
//     inserted values.
//
// Arguments in common:
//   router          where the message goes
//   templateText    the text with "%1" to "%99" in it; null counts as empty
//   formatter       the calling thread's, with the values for "%1" and so on: GetMessageFormatter() << first << second.
//                   It is empty afterwards, but keeps its values if the router is disabled
//   catalogContext  passed to the catalog with an ID, and not read with a text; may be null
//   fileName, functionName, lineNumber
//                   the source location of the call; file and function may be null

namespace QzLog
{
    /// An empty formatter for the calling thread; see QzResource::GetMessageFormatter.
    QZLOG_API QzResource::MessageFormatter& GetMessageFormatter();

    /// Logs a template with the formatter's values in place of "%1" to "%99".
    QZLOG_API void LogMessage(Router& router, char const* templateText, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber);
    QZLOG_API void LogMessage(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber);

    /// Logs a text as it is: "%1" in it is logged as those two characters. Null logs an empty text.
    QZLOG_API void LogString(Router& router, char const* text, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber);
    QZLOG_API void LogString(Router& router, unsigned int messageID, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber);

    /// With a text, like LogString: the formatter is not touched. With an ID, like LogMessage.
    QZLOG_API void LogMessage4NP(Router& router, char const* text, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber);
    QZLOG_API void LogMessage4NP(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber);

    // The functions below build their text whether the router is enabled or not, log it, and throw it as
    // QzBase::ExceptionImpl<QzBase::Message> (catch QzBase::Message&) of the domain MESSAGE_DOMAIN_UNKNOWN, with
    // the message ID, or with -1 for a text. If logging itself throws, that exception is thrown instead.

    [[noreturn]] QZLOG_API void LogMessageAndThrowBaseException(
        Router& router, char const* templateText, QzResource::MessageFormatter& formatter, char const* catalogContext);
    [[noreturn]] QZLOG_API void LogMessageAndThrowBaseException(
        Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter, char const* catalogContext);
    [[noreturn]] QZLOG_API void LogStringAndThrowBaseException(
        Router& router, char const* text, char const* catalogContext);
    [[noreturn]] QZLOG_API void LogStringAndThrowBaseException(
        Router& router, unsigned int messageID, char const* catalogContext);
}

#include <QzLog/details/InlineTest.h>
