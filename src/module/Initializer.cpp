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

        /// Holds the spin word. It is no lock of QzSynch, since it guards what those locks need.
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

        /// With the lock word held: destroys the module if nobody needs it. Returns whether nothing is left to do.
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

        /// Destroys the module, unless an Initializer was constructed in the meantime. Waits for calls in flight
        /// without the lock word, since one of them may be constructing an Initializer. Called by destructors, in
        /// which a thread must not be cancelled.
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

        /// In a forked child the other threads do not exist, and what they were doing is never finished: their calls
        /// never return, and a module that one of them was destroying is unusable. (A module under construction is
        /// not known yet.)
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

        // When the library is loaded, so that no fork happens during the first call.
        [[gnu::constructor(102)]] void WatchForks()
        {
            QzOs::CallAroundFork(nullptr, nullptr, ForgetOtherThreads);
        }
    }

    Initializer::Initializer()
    {
        if (tHoldsLockWord)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "A QzLog::Initializer cannot be constructed while the logging module is being destroyed."));
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
