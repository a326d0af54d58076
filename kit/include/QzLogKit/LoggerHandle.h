#pragma once

#include <QzLog/Router.h>
#include <QzLogKit/Export.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <type_traits>

namespace QzLogKit
{
    /// A router that can be a static object: it is looked up at its first use while the module runs.
    ///
    ///     constinit QzLogKit::RouterHandle gInfo("Kernel", "Info");
    ///     QzLog::Log(gInfo, "User %1 has signed in.", user);
    ///
    /// Before the module runs, a call does nothing. A use costs one read more than that of a router. Any thread may use
    /// it at any time, until it is destroyed.
    ///
    /// A handle keeps its router until ReleaseAll or its own end. Once the module has ended, that router never logs
    /// again: a process that starts the module anew calls ReleaseAll before.
    class QZLOGKIT_API RouterHandle
    {
    public:
        /// The names, UTF-8, are not copied: they must outlive the handle, as literals do.
        constexpr RouterHandle(char const* loggerName, char const* dispatcherName) noexcept
            : mpLoggerName(loggerName), mpDispatcherName(dispatcherName)
        {
        }

        ~RouterHandle();
        RouterHandle(RouterHandle const&) = delete;
        RouterHandle& operator=(RouterHandle const&) = delete;

        /// The router; while no Initializer is alive, one that is never enabled and has neither logger nor dispatcher.
        /// Throws what CreateRouter throws.
        QzLog::Router& operator*() const
        {
            QzLog::Router* const router = mpRouter.load(std::memory_order_acquire);
            return router ? *router : Find();
        }

        QzLog::Router* operator->() const { return &**this; }

        /// Has all handles of the process look up their routers anew. For a process that ends the module and starts it
        /// again, as unit tests do: call it in between, while no other thread uses a handle.
        static void ReleaseAll();

    private:
        class All;

        QzLog::Router& Find() const;
        void Release() const;

        char const* const mpLoggerName;
        char const* const mpDispatcherName;
        mutable std::atomic<QzLog::Router*> mpRouter{nullptr};
        mutable RouterHandle const* mpNext = nullptr; // of those that have a router
    };

    /// A name in the source, as an argument of templates.
    template <std::size_t size>
    struct HandleName
    {
        constexpr HandleName(char const (&name)[size]) { std::copy_n(name, size, mText); }

        char mText[size];
    };

    /// A RouterHandle whose type has the name of its dispatcher.
    template <HandleName name>
    class NamedRouterHandle : public RouterHandle
    {
    public:
        constexpr explicit NamedRouterHandle(char const* loggerName) noexcept : RouterHandle(loggerName, name.mText) {}
    };

    /// The routers of one logger, under the names of its dispatchers, which are yours to choose. A name that is not in
    /// the list does not compile.
    ///
    ///     using Log = QzLogKit::LoggerHandle<"Trace", "Info", "Error">;
    ///     constinit Log gKernel("Kernel");
    ///     QzLog::Log(gKernel.To<"Info">(), "User %1 has signed in.", user);
    ///
    /// As RouterHandle in all else.
    template <HandleName... names>
    class LoggerHandle : private NamedRouterHandle<names>...
    {
    public:
        /// The name, UTF-8, is not copied.
        constexpr explicit LoggerHandle(char const* loggerName) noexcept : NamedRouterHandle<names>(loggerName)... {}

        template <HandleName name>
        QzLog::Router& To()
        {
            static_assert(std::is_base_of_v<NamedRouterHandle<name>, LoggerHandle>,
                "The logger's handle has no dispatcher of this name.");
            return *static_cast<NamedRouterHandle<name>&>(*this);
        }
    };
}
