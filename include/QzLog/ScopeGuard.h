#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Router.h>

#include <cstdint>

namespace QzLog
{
    /// Traces a block of code: logs "Enter '<scope>' near <file>(<line>)" when it is constructed and "Leave ..." when
    /// it is destroyed, on every way out. It stands at the top of the block, by default under the name of the function:
    ///
    ///     QzLog::ScopeGuard guard(*trace);
    ///     ...
    ///     return guard.SetReturnCode(result);
    ///
    /// Each line is logged if the router is enabled at that moment; "Leave" only if it was at "Enter", too. A guard
    /// never throws and never disturbs the code that it traces: what goes wrong in its logging is dropped. It belongs
    /// to the thread that created it. A thread that is cancelled inside the guard's logging is cancelled at its next
    /// cancellation point after it.
    class QZLOG_API ScopeGuard
    {
    public:
        /// \param scopeName  UTF-8, not copied: must outlive the guard, as a literal does. With null, the guard
        ///                   logs nothing.
        /// \param fileName   likewise not copied; may be null.
        [[nodiscard]] explicit ScopeGuard(Router& router, char const* scopeName = __builtin_FUNCTION(),
            char const* fileName = __builtin_FILE(), unsigned short lineNumber = __builtin_LINE()) noexcept;

        /// For a wide scope name, which is not read: both lines show a hint to use narrow text.
        [[nodiscard]] ScopeGuard(
            Router& router, unsigned short const* scopeName, char const* fileName, unsigned short lineNumber) noexcept;

        /// Copies log no "Enter" line; each copy of a live guard logs a "Leave" line of its own.
        ScopeGuard(ScopeGuard const& other) noexcept;
        ScopeGuard& operator=(ScopeGuard const& other) noexcept;

        ~ScopeGuard();

        /// The scope name, or null.
        char const* GetScopeName() const noexcept;

        /// Keeps the code (its low 32 bits) and the line for the "Leave" line, and returns the code, so that the
        /// call can stand in a return statement. A later call replaces an earlier one.
        int SetReturnCode(int code, unsigned short lineNumber = __builtin_LINE()) noexcept;
        unsigned int SetReturnCode(unsigned int code, unsigned short lineNumber = __builtin_LINE()) noexcept;
        long SetReturnCode(long code, unsigned short lineNumber = __builtin_LINE()) noexcept;
        unsigned long SetReturnCode(unsigned long code, unsigned short lineNumber = __builtin_LINE()) noexcept;

        /// The same for every integer type and enumeration.
        template <class Code>
        Code KeepReturnCode(Code code, unsigned short lineNumber = __builtin_LINE()) noexcept
        {
            SetReturnCode(static_cast<unsigned long>(code), lineNumber);
            return code;
        }

    private:
        void StoreReturnCode(std::uint32_t code, unsigned short lineNumber) noexcept;
        void Enter(Router& router) noexcept;
        void Leave() noexcept;

        std::uint32_t mReturnCode = 0;
        char const* mpScopeName;
        char const* mpFileName;
        QzBase::CountedPtr<Router> mpRouter;
        unsigned short mLineNumber;
        unsigned short mReturnCodeIsSet = 0;
    };
}

// A guard on a disabled router is a test in the caller, and another one in the library when it is destroyed.
#if !defined(QZLOG_CALLS_ARE_DEFINED_HERE)
namespace QzLog
{
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wgnu-inline-cpp-without-extern"
#endif
    [[gnu::gnu_inline, gnu::always_inline]] inline ScopeGuard::ScopeGuard(
        Router& router, char const* scopeName, char const* fileName, unsigned short lineNumber) noexcept
        : mpScopeName(scopeName), mpFileName(fileName), mLineNumber(lineNumber)
    {
        if (scopeName && router.mEnabled.load(std::memory_order_relaxed)) [[unlikely]]
            Enter(router);
    }
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
}
#endif

/// A ScopeGuard without a variable to name, for nested blocks:
///
///     QZLOG_SCOPE(*trace);
///     ...
///     return QZLOG_RETURN_CODE(result);
#define QZLOG_SCOPE(router)                                                                                            \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wshadow\"")                                      \
        QzLog::ScopeGuard qzlogScope(router);                                                                          \
    _Pragma("GCC diagnostic pop")

/// Sets the return code of the innermost QZLOG_SCOPE, and is that code.
#define QZLOG_RETURN_CODE(code) qzlogScope.KeepReturnCode(code)
