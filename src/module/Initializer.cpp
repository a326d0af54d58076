#include <QzLog/Module.h>

#include "module/ModuleMain_Impl.h"
#include "os/Cancellation.h"
#include "os/Fork.h"
#include "root/ModuleAccess.h"
#include "routing/Loan.h"

#include <QzBase/Message.h>
#include <QzBase/System.h>

namespace QzLog
{
    namespace
    {
        constinit thread_local bool tHoldsLockWord = false;

        /// Holds the spin word. It is no lock of QzSynch: it guards what those locks live on.
        class LockWord
        {
        public:
            LockWord() noexcept
            {
                while (gModuleInit.lockWord.exchange(ModuleInit::kHeld) == ModuleInit::kHeld)
                    QzBase::Sleep(0);
                tHoldsLockWord = true;
            }

            ~LockWord()
            {
                tHoldsLockWord = false;
                gModuleInit.lockWord.exchange(0);
            }

            LockWord(LockWord const&) = delete;
            LockWord& operator=(LockWord const&) = delete;
        };

        /// With the lock word held: ends the module if nobody needs it, and tells whether that question is settled.
        bool EndIfNobodyIsInside() noexcept
        {
            if (gModuleInit.useCount != 0 || !gModuleInit.pModule)
                return true;
            PublishModule(nullptr);
            if (!ModulePin::NoneIsHeld())
                return false;
            delete static_cast<ModuleMain_Impl*>(gModuleInit.pModule);
            gModuleInit.pModule = nullptr;
            return true;
        }

        /// Ends the module unless an Initializer has come in the meantime. The calls in flight are waited for with
        /// the lock word free: one of them may be making an Initializer. Destructors come by here, through which a
        /// thread must not be cancelled.
        void EndUnusedModule() noexcept
        {
            QzOs::NoCancellation const noCancellation;
            if (ModulePin::IsHeldByThisThread())
            {
                ModulePin::CallAtLastEnd(EndUnusedModule);
                return;
            }
            for (;;)
            {
                {
                    LockWord const hold;
                    if (EndIfNobodyIsInside())
                        return;
                }
                QzBase::Sleep(1);
            }
        }

        /// In the child of a fork the other threads are gone, and whatever they were in the middle of stays as it
        /// was: their calls never end, and a module that one of them was destroying is of no use. (One that was
        /// being built is not known yet.)
        void ForgetOtherThreads()
        {
            ModulePin::ForgetOtherThreads();
            LoanBase::ForgetOtherThreads();
            if (tHoldsLockWord || gModuleInit.lockWord.load() != ModuleInit::kHeld)
                return;
            if (gModuleInit.useCount == 0)
            {
                PublishModule(nullptr);
                gModuleInit.pModule = nullptr;
            }
            gModuleInit.lockWord.store(0);
        }

        bool WatchForks() noexcept
        {
            static bool const areWatched = QzOs::CallAroundFork(nullptr, nullptr, ForgetOtherThreads);
            return areWatched;
        }

        // When the library is loaded, so that no fork falls into the first call.
        [[maybe_unused]] bool const gForksAreWatched = WatchForks();
    }

    Initializer::Initializer()
    {
        WatchForks();
        if (tHoldsLockWord)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "A QzLog::Initializer cannot be made by what the end of the logging module destroys."));
        }
        LockWord const hold;
        if (!gModuleInit.pModule)
        {
            gModuleInit.pModule = new ModuleMain_Impl;
            ++gModuleInit.moduleNumber;
        }
        ++gModuleInit.useCount;
        PublishModule(gModuleInit.pModule);
    }

    Initializer::Initializer(Initializer const&) : Initializer() {}

    Initializer::~Initializer()
    {
        {
            LockWord const hold;
            if (--gModuleInit.useCount != 0)
                return;
        }
        EndUnusedModule();
    }
}
