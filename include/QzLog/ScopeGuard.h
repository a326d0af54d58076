#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Router.h>

#include <cstdint>

namespace QzLog
{
    /// Traces a block of code: logs "Enter '<scope>' near <file>(<line>)" when it is made and "Leave ..." when it
    /// ends, on every way out. Made on the stack at the top of the block, for example
    ///
    ///     QzLog::ScopeGuard guard(*gTrace, __func__, __FILE__, __LINE__);
    ///     ...
    ///     return guard.SetReturnCode(result, __LINE__);
    ///
    /// Both lines depend on the router being enabled at their moment, and the second also on the router having
    /// been enabled at the first. A guard never throws and never disturbs the code that it traces: what goes
    /// wrong in its logging is dropped. It belongs to the thread that made it. A thread that is cancelled inside
    /// the guard's logging is cancelled at its next cancellation point behind it.
    class QZLOG_API ScopeGuard
    {
    public:
        /// \param scopeName  UTF-8, not copied: must outlive the guard, as a literal does. Null makes a guard that
        ///                   logs nothing.
        /// \param fileName   likewise not copied; may be null.
        ScopeGuard(Router& router, char const* scopeName, char const* fileName, unsigned short lineNumber) noexcept;

        /// For a wide scope name, which is not read: both lines show a hint to use narrow text.
        ScopeGuard(
            Router& router, unsigned short const* scopeName, char const* fileName, unsigned short lineNumber) noexcept;

        /// Copies log no "Enter" line; each copy of a live guard logs a "Leave" line of its own.
        ScopeGuard(ScopeGuard const& other) noexcept;
        ScopeGuard& operator=(ScopeGuard const& other) noexcept;

        ~ScopeGuard();

        /// The scope name, or null.
        char const* GetScopeName() const noexcept;

        /// Keeps the code (its low 32 bits) and the line for the "Leave" line, and returns the code, so that it can
        /// stand in a return statement. A later call replaces an earlier one.
        int SetReturnCode(int code, unsigned short lineNumber) noexcept;
        unsigned int SetReturnCode(unsigned int code, unsigned short lineNumber) noexcept;
        long SetReturnCode(long code, unsigned short lineNumber) noexcept;
        unsigned long SetReturnCode(unsigned long code, unsigned short lineNumber) noexcept;

        /// The same for every integer type and enumeration.
        template <class Code>
        Code KeepReturnCode(Code code, unsigned short lineNumber) noexcept
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

/// Traces the block that it stands in: a ScopeGuard with the name of the function and the place of the macro. One in a
/// block inside, or in a lambda, traces that block in turn.
///
///     QZLOG_SCOPE(*gTrace);
///     ...
///     return QZLOG_RETURN_CODE(result);
#define QZLOG_SCOPE(router)                                                                                            \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wshadow\"")                                      \
        QzLog::ScopeGuard qzlogScope((router), __func__, __FILE__, static_cast<unsigned short>(__LINE__));             \
    _Pragma("GCC diagnostic pop")

/// The code, of the type that it has, after it was kept for the "Leave" line of the QZLOG_SCOPE around: an integer or
/// an enumeration, of which that line shows the low 32 bits, and the line of this macro.
#define QZLOG_RETURN_CODE(code) qzlogScope.KeepReturnCode((code), static_cast<unsigned short>(__LINE__))
