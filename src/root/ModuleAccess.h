#pragma once

#include <atomic>
#include <cstdint>

namespace QzLog
{
    class ModuleMain;

    /// What the process's Initializer objects share. Constant-initialised and never destroyed, so that static
    /// objects may hold one.
    struct ModuleInit
    {
        static constexpr unsigned int kHeld = 0x12345678;

        /// 0 or kHeld. Guards the two members below, and is held while the module is built and destroyed.
        std::atomic<unsigned int> lockWord{0};
        int useCount = 0;
        /// The module that exists; it may be hidden from ModulePin because it is about to end.
        ModuleMain* pModule = nullptr;
        /// Counts the modules of the process. Stays the same while a ModulePin holds a module.
        std::atomic<std::uint64_t> moduleNumber{0};
    };

    extern ModuleInit gModuleInit;

    /// Makes the module visible to new pins; null makes it invisible.
    void PublishModule(ModuleMain* module) noexcept;

    /// Keeps the module from being destroyed while a call uses it; holds null if there is none. Taking one costs
    /// an increment of a counter that few threads share, and never waits. A thread may take another one while it
    /// has one. Destroyed on the thread that created it.
    class ModulePin
    {
    public:
        ModulePin() noexcept;
        ~ModulePin();
        ModulePin(ModulePin const&) = delete;
        ModulePin& operator=(ModulePin const&) = delete;

        explicit operator bool() const noexcept { return mpModule != nullptr; }
        ModuleMain* operator->() const noexcept { return mpModule; }
        ModuleMain& operator*() const noexcept { return *mpModule; }

        /// Whether the calling thread has a pin, and so must not wait for the pins to end.
        static bool IsHeldByThisThread() noexcept;

        /// Calls `action` when the calling thread, which has a pin, releases its last one. The same action is called
        /// once, however often this is called.
        static void CallAtLastEnd(void (*action)()) noexcept;

        /// Whether no thread has a pin on a module that is hidden.
        static bool NoneIsHeld() noexcept;

        /// In a forked child: drops the pins of the threads that exist only in the parent.
        static void ForgetOtherThreads() noexcept;

    private:
        ModuleMain* mpModule;
    };

    /// A pin for a function that needs the module: throws QzBase::Message if there is none.
    class RequiredModule : public ModulePin
    {
    public:
        RequiredModule();
    };
}
