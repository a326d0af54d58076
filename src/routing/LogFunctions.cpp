#define QZLOG_CALLS_ARE_DEFINED_HERE
#include <QzLog/LogFunctions.h>

#include "message/CallFrame.h"
#include "routing/LogCall.h"

#include <string>

// Each function here is the first of the library's frames in a call stack and calls the router itself. The test
// of mEnabled comes before everything else, so that a disabled call is that one read.

namespace QzLog
{
    namespace
    {
        [[noreturn]] void ThrowBaseException(std::string const& text, int id)
        {
            QzBase::Message message(QzBase::MESSAGE_DOMAIN_UNKNOWN, id, text.c_str());
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
        TextCall const call(router, templateText, formatter, {fileName, functionName, lineNumber});
        call.mRouter.LogText(
            call.mpText, 0, call.mLocation.mpFileName, call.mLocation.mpFunctionName, call.mLocation.mLineNumber);
    }

    QZLOG_CALL_FRAME void LogMessage(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber)
    {
        if (!IsEnabled(router))
            return;
        IDCall const call(router, messageID, formatter, catalogContext, {fileName, functionName, lineNumber});
        call.mRouter.LogText(call.mpText, call.mMessageID, call.mLocation.mpFileName, call.mLocation.mpFunctionName,
            call.mLocation.mLineNumber);
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
        IDCall const call(router, messageID, catalogContext, {fileName, functionName, lineNumber});
        call.mRouter.LogText(call.mpText, call.mMessageID, call.mLocation.mpFileName, call.mLocation.mpFunctionName,
            call.mLocation.mLineNumber);
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
        IDCall const call(router, messageID, formatter, catalogContext, {fileName, functionName, lineNumber});
        call.mRouter.LogText(call.mpText, call.mMessageID, call.mLocation.mpFileName, call.mLocation.mpFunctionName,
            call.mLocation.mLineNumber);
    }

    // The texts are copied before they are logged: they are thrown afterwards, and a destination may use the
    // formatters meanwhile. The catalog is released before as well.

    QZLOG_CALL_FRAME void LogMessageAndThrowBaseException(
        Router& router, char const* templateText, QzResource::MessageFormatter& formatter, char const*)
    {
        std::string const text(TextCall(router, templateText, formatter, {}).mpText);
        router.LogText(text.c_str(), 0, nullptr, nullptr, 0);
        ThrowBaseException(text, -1);
    }

    QZLOG_CALL_FRAME void LogMessageAndThrowBaseException(
        Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter, char const* catalogContext)
    {
        std::string const text(IDCall(router, messageID, formatter, catalogContext, {}).mpText);
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
        std::string const text(IDCall(router, messageID, catalogContext, {}).mpText);
        router.LogText(text.c_str(), messageID, nullptr, nullptr, 0);
        ThrowBaseException(text, static_cast<int>(messageID));
    }
}

// The second names, by the symbols of the first ones: neither costs the other a frame.
namespace QzLog::CallDetails
{
    MessageCall<char const*> LogMessage
        [[gnu::alias("_ZN5QzLog10LogMessageERNS_6RouterEPKcRN10QzResource16MessageFormatterES3_S3_S3_i")]];
    MessageCall<unsigned int> LogMessage
        [[gnu::alias("_ZN5QzLog10LogMessageERNS_6RouterEjRN10QzResource16MessageFormatterEPKcS6_S6_i")]];
    StringCall<char const*> LogString [[gnu::alias("_ZN5QzLog9LogStringERNS_6RouterEPKcS3_S3_S3_i")]];
    StringCall<unsigned int> LogString [[gnu::alias("_ZN5QzLog9LogStringERNS_6RouterEjPKcS3_S3_i")]];
    MessageCall<char const*> LogMessage4NP
        [[gnu::alias("_ZN5QzLog13LogMessage4NPERNS_6RouterEPKcRN10QzResource16MessageFormatterES3_S3_S3_i")]];
    MessageCall<unsigned int> LogMessage4NP
        [[gnu::alias("_ZN5QzLog13LogMessage4NPERNS_6RouterEjRN10QzResource16MessageFormatterEPKcS6_S6_i")]];
}
