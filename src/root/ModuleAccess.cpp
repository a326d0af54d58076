#include "root/ModuleAccess.h"

#include "support/synch/ThreadStripe.h"

#include <QzBase/Message.h>

#include <utility>

namespace QzLog
{
    namespace
    {
        struct PinCounter
        {
            std::atomic<unsigned int> mThreads{0};
        };

        constinit QzSynch::ThreadStripes<PinCounter, 64> gPinCounters;
        constinit std::atomic<ModuleMain*> gPublishedModule{nullptr};

        struct ThisThread
        {
            ModuleMain* mpModule; // what the pins hold; the thread is counted while it is not null
            void (*mpAction)();
            unsigned int mPins;
        };

        // Initial-exec, since every message uses it: no call of the dynamic linker.
        [[gnu::tls_model("initial-exec")]] constinit thread_local ThisThread tThisThread{};
    }

    constinit ModuleInit gModuleInit;

    void PublishModule(ModuleMain* module) noexcept
    {
        gPublishedModule.store(module);
    }

    // A pin first shows itself and then looks for the module; the thread that ends the module first hides it and then
    // looks for pins. With sequential consistency at least one of them sees the other. A pin that finds no module
    // does not show itself: calls on objects that have outlived the module, however many, never delay its end.
    // tests/models/ModulePin.pml is a model of this, and of the end of the module.

    ModulePin::ModulePin() noexcept
    {
        ThisThread& self = tThisThread;
        if (self.mPins++ == 0 && gPublishedModule.load())
        {
            PinCounter& counter = gPinCounters.OfThisThread();
            counter.mThreads.fetch_add(1);
            self.mpModule = gPublishedModule.load();
            if (!self.mpModule)
                counter.mThreads.fetch_sub(1);
        }
        // The inner pins see what the outer one sees: a call that began with a module ends with it.
        mpModule = self.mpModule;
    }

    ModulePin::~ModulePin()
    {
        ThisThread& self = tThisThread;
        if (--self.mPins != 0)
            return;
        if (std::exchange(self.mpModule, nullptr))
            gPinCounters.OfThisThread().mThreads.fetch_sub(1);
        if (void (*const action)() = std::exchange(self.mpAction, nullptr))
            action();
    }

    bool ModulePin::IsHeldByThisThread() noexcept
    {
        return tThisThread.mPins != 0;
    }

    void ModulePin::CallAtLastEnd(void (*action)()) noexcept
    {
        tThisThread.mpAction = action;
    }

    bool ModulePin::NoneIsHeld() noexcept
    {
        for (PinCounter& counter : gPinCounters)
        {
            if (counter.mThreads.load() != 0)
                return false;
        }
        return true;
    }

    void ModulePin::ForgetOtherThreads() noexcept
    {
        for (PinCounter& counter : gPinCounters)
            counter.mThreads.store(0);
        if (tThisThread.mpModule)
            gPinCounters.OfThisThread().mThreads.store(1);
    }

    RequiredModule::RequiredModule()
    {
        if (!*this)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "The logging module is not running: no QzLog::Initializer is alive."));
        }
    }
}
