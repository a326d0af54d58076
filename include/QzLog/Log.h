#pragma once

#include <QzLog/LogFunctions.h>
#include <QzLog/SourceLocation.h>
#include <QzLog/details/CallText.h>
#include <QzLog/details/CallValues.h>

#include <concepts>
#include <type_traits>

// The call that logs. It records its own source location and turns values of any type into text.
//
//     QzLog::Log(*router, "User %1 ran %2 in %3 ms", user, command, milliseconds);
//     QzLog::Log(*router, kReportDone, user, milliseconds);           // a message ID in place of the template
//     QzLog::Log(*router, "Error %1", QzLog::Format::WideHex, code);  // a manipulator, for the numbers after it
//     QzLog::Log(*router, message);                                   // a QzBase::Message, in each one's language
//
// A convenience layer over the functions of QzLog/LogFunctions.h, with the same guarantees: any thread, wholly on the
// calling thread, errno is preserved. What a catalog, a destination or a value's own operator<< throws reaches the
// caller. The call is compiled into the caller at every level of optimisation: on a disabled router it only tests
// mEnabled and reads no value. Expressions in the arguments are still evaluated, as the language has it. Pass a
// function where that is expensive:
//
//     QzLog::Log(*trace, "Query %1", [&] { return query.Describe(); });
//
// The argument after the router. Write it inside the call, which is how the call knows its source location.
//
//     a literal, or a constant char const*    a template, checked against the values at compile time: "%1" to "%99"
//                                             stand for the values, "%%" for "%". Each number must have a value, and
//                                             each value a number
//     RunTimeTemplate(text)                   a template that is known only at run time, char const* or std::string. A
//                                             number without a value is kept as it is. For a text that is no
//                                             template write Log(router, "%1", text). An error "is not a constant
//                                             expression" says that the call needs one of the two
//     an integer or enumeration               a message ID of at most 32 bits (no bool, no character): the text is
//                                             that of the logger's catalog
//     CallID(id, context)                     a message ID, and a context for the catalog (char const*)
//     a QzBase::Message                       a structured message under its own ID, without a source location: each
//                                             destination takes the text in its own language. No values
//
// Values and their text:
//
//     std::string, std::string_view, what converts to one     its bytes, UTF-8; a zero byte ends the whole text
//     char const*, char arrays                                up to the zero byte; null inserts an empty text
//     unsigned short const*, QzBase::WideString               UTF-16 up to the zero; null inserts an empty text
//     other objects with c_str(), such as ReturnWString       that text
//     char                                                    the character
//     bool                                                    "true" or "false"
//     integers, signed char and unsigned char too             decimal, or as a manipulator says
//     float, double, long double                              the shortest that reads back as the same, no locale
//     enumerations                                            the number, as integers
//     pointers, nullptr                                       "0x" and hexadecimal digits
//     functions without parameters that return a value,       what they return; called in their order, before any value
//     pointers to them, lambdas                               is inserted, and only by an enabled call; they may log
//     a type with an operator<< for the formatter             what that inserts
//     durations, ranges and more of the standard library      see QzLog/StandardValues.h, to be included besides
//
// There are no widths and precisions: pass what std::snprintf makes, in a function if the router is mostly disabled.
//
// Other types do not compile. A type of your own becomes a value by an operator in its namespace, or in QzResource for
// a type of somebody else's. However many pieces it inserts, they are one value of the call, and a manipulator in it
// ends with it:
//
//     QzResource::MessageFormatter& operator<<(QzResource::MessageFormatter& formatter, Money const& money)
//     {
//         return formatter << money.mAmount << ' ' << money.mCurrency;
//     }
//
// Where such a value is inserted into a formatter without Log, QzResource::SingleValue does the same.

namespace QzLog
{
    namespace CallDetails
    {
        template <class T>
        concept IsRouterPointer = requires(T const& pointer)
        {
            static_cast<Router&>(*pointer);
        };

        /// Keeps the call before it from becoming a jump, which would remove the caller from the call stack of its
        /// own message.
        [[gnu::always_inline]] inline void KeepFrame()
        {
            asm volatile("");
        }
    }

    /// Logs a template with its values, without a message ID.
    /// \param text  a literal, a constant or a RunTimeTemplate. It is not copied.
    template <class... Values>
    [[gnu::always_inline]] inline void Log(
        Router& router, CallDetails::TemplateFor<Values...> text, Values const&... values)
    {
        if (!router.mEnabled.load(std::memory_order_relaxed)) [[likely]]
            return;
        SourceLocation const& location = text.GetLocation();
        if (sizeof...(Values) == 0 && text.IsPlain())
            CallDetails::LogString(
                router, text.GetText(), nullptr, location.mpFileName, location.mpFunctionName, location.mLineNumber);
        else
            CallDetails::LogMessage(router, text.GetText(),
                CallDetails::Collect<CallDetails::Passed<Values>...>(values...), nullptr, location.mpFileName,
                location.mpFunctionName, location.mLineNumber);
        CallDetails::KeepFrame();
    }

    /// Logs a text of the logger's catalog with its values, under the message ID. Without a catalog the text is
    /// the ID, followed by the values.
    template <class... Values>
    [[gnu::always_inline]] inline void Log(Router& router, CallID id, Values const&... values)
    {
        if (!router.mEnabled.load(std::memory_order_relaxed)) [[likely]]
            return;
        SourceLocation const& location = id.GetLocation();
        CallDetails::LogMessage(router, id.GetID(), CallDetails::Collect<CallDetails::Passed<Values>...>(values...),
            id.GetCatalogContext(), location.mpFileName, location.mpFunctionName, location.mLineNumber);
        CallDetails::KeepFrame();
    }

    /// Logs a structured message under its own ID, without a source location. Each destination takes the text in its
    /// own language.
    [[gnu::always_inline]] inline void Log(Router& router, QzBase::Message const& message)
    {
        if (!router.mEnabled.load(std::memory_order_relaxed)) [[likely]]
            return;
        router.LogBaseMessage(message);
        CallDetails::KeepFrame();
    }

    /// The same through a pointer to the router, plain, counted or smart, which must not be null.
    template <CallDetails::IsRouterPointer Pointer, class... Values>
    [[gnu::always_inline]] inline void Log(
        Pointer const& router, CallDetails::TemplateFor<Values...> text, Values const&... values)
    {
        Log(static_cast<Router&>(*router), text, values...);
    }

    template <CallDetails::IsRouterPointer Pointer, class... Values>
    [[gnu::always_inline]] inline void Log(Pointer const& router, CallID id, Values const&... values)
    {
        Log(static_cast<Router&>(*router), id, values...);
    }

    template <CallDetails::IsRouterPointer Pointer>
    [[gnu::always_inline]] inline void Log(Pointer const& router, QzBase::Message const& message)
    {
        Log(static_cast<Router&>(*router), message);
    }

    /// Does not compile, and says why.
    template <class NoRouter, class... Arguments>
    requires(!std::convertible_to<NoRouter, Router&> &&
             !CallDetails::IsRouterPointer<std::remove_cvref_t<NoRouter>>) void Log(NoRouter&&, Arguments&&...)
    {
        static_assert(CallDetails::kIsSupported<NoRouter>,
            "A message goes through a router: write a Router that is not const, or a pointer to one. A "
            "QzLogKit::LoggerHandle gives one by To<\"Info\">()");
    }

    /// Builds the text whether the router is enabled or not, logs it without a source location, and throws it as
    /// QzBase::ExceptionImpl<QzBase::Message> with the ID -1. See LogMessageAndThrowBaseException.
    template <class... Values>
    [[noreturn, gnu::always_inline]] inline void LogAndThrow(
        Router& router, CallDetails::TemplateFor<Values...> text, Values const&... values)
    {
        LogMessageAndThrowBaseException(
            router, text.GetText(), CallDetails::Collect<CallDetails::Passed<Values>...>(values...), nullptr);
    }

    /// The same with a text of the logger's catalog and its message ID.
    template <class... Values>
    [[noreturn, gnu::always_inline]] inline void LogAndThrow(Router& router, CallID id, Values const&... values)
    {
        LogMessageAndThrowBaseException(router, id.GetID(),
            CallDetails::Collect<CallDetails::Passed<Values>...>(values...), id.GetCatalogContext());
    }

    /// The same through a pointer to the router, which must not be null.
    template <CallDetails::IsRouterPointer Pointer, class... Values>
    [[noreturn, gnu::always_inline]] inline void LogAndThrow(
        Pointer const& router, CallDetails::TemplateFor<Values...> text, Values const&... values)
    {
        LogAndThrow(static_cast<Router&>(*router), text, values...);
    }

    template <CallDetails::IsRouterPointer Pointer, class... Values>
    [[noreturn, gnu::always_inline]] inline void LogAndThrow(Pointer const& router, CallID id, Values const&... values)
    {
        LogAndThrow(static_cast<Router&>(*router), id, values...);
    }
}
