#pragma once

#include <QzLog/LogFunctions.h>

// A call on a disabled router only tests mEnabled, in the caller. Included by QzLog/LogFunctions.h, which declares the
// functions. The address of one is that of the library's function, which tests mEnabled as well.

namespace QzLog
{
    // The library's functions under a second name, called when the test has succeeded.
    namespace CallDetails
    {
        /// Text is char const* for a text, unsigned int for a message ID.
        template <class Text>
        using MessageCall = void(Router& router, Text text, QzResource::MessageFormatter& formatter,
            char const* catalogContext, char const* fileName, char const* functionName, int lineNumber);
        template <class Text>
        using StringCall = void(Router& router, Text text, char const* catalogContext, char const* fileName,
            char const* functionName, int lineNumber);

        QZLOG_API MessageCall<char const*> LogMessage, LogMessage4NP;
        QZLOG_API MessageCall<unsigned int> LogMessage, LogMessage4NP;
        QZLOG_API StringCall<char const*> LogString;
        QZLOG_API StringCall<unsigned int> LogString;
    }

// The library's own source files define the functions instead.
#if !defined(QZLOG_CALLS_ARE_DEFINED_HERE)
    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogMessage(Router& router, char const* templateText,
        QzResource::MessageFormatter& formatter, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogMessage(
                router, templateText, formatter, catalogContext, fileName, functionName, lineNumber);
    }

    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogMessage(Router& router, unsigned int messageID,
        QzResource::MessageFormatter& formatter, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogMessage(router, messageID, formatter, catalogContext, fileName, functionName, lineNumber);
    }

    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogString(Router& router, char const* text,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogString(router, text, catalogContext, fileName, functionName, lineNumber);
    }

    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogString(Router& router, unsigned int messageID,
        char const* catalogContext, char const* fileName, char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogString(router, messageID, catalogContext, fileName, functionName, lineNumber);
    }

    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogMessage4NP(Router& router, char const* text,
        QzResource::MessageFormatter& formatter, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogMessage4NP(router, text, formatter, catalogContext, fileName, functionName, lineNumber);
    }

    [[gnu::gnu_inline, gnu::always_inline]] extern inline void LogMessage4NP(Router& router, unsigned int messageID,
        QzResource::MessageFormatter& formatter, char const* catalogContext, char const* fileName,
        char const* functionName, int lineNumber)
    {
        if (router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            CallDetails::LogMessage4NP(
                router, messageID, formatter, catalogContext, fileName, functionName, lineNumber);
    }
#endif
}
