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

    /// Makes the module visible to pins made from now on, or with null invisible.
    void PublishModule(ModuleMain* module) noexcept;

    /// Keeps the module from being destroyed while a call works with it; holds null when there is none. Taking
    /// one costs an increment of a counter that few threads share and waits for nobody. A thread may take it
    /// again while it has one. Ends on the thread that made it.
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

        /// Has `action` called when the calling thread, which has a pin, gives its last one back. The same
        /// action is called once however often it is asked for.
        static void CallAtLastEnd(void (*action)()) noexcept;

        /// Whether no thread has a pin on a module that is hidden.
        static bool NoneIsHeld() noexcept;

        /// In the child of a fork: drops the pins of the threads that exist in the parent only.
        static void ForgetOtherThreads() noexcept;

    private:
        ModuleMain* mpModule;
    };

    /// A pin on the module for a function that cannot do without: throws QzBase::Message when there is none.
    class RequiredModule : public ModulePin
    {
    public:
        RequiredModule();
    };
}
