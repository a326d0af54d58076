#include "routing/Router_Impl.h"

#include "message/CallFrame.h"
#include "routing/HandleCallback.h"
#include "routing/Logger_Impl.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzLog/Dispatcher.h>
#include <QzSynch/CallbackProxyImpl.h>

#include <typeinfo>

namespace QzLog
{
    /// The router's callback at its logger, which holds it by counted reference. It holds the router by a bare
    /// pointer, so that there is no cycle.
    class Router_Impl::CallbackProxy final : public QzSynch::Counted<HandleCallback>,
                                             public QzSynch::CallbackProxyImpl<Router_Impl>
    {
    public:
        CallbackProxy() : CallbackProxyImpl(QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryDefault)) {}

        void OnDispatcherChanged(unsigned short handle) override
        {
            if (handle != GetHandle())
                return;
            if (QzBase::ReturnPtrI<Router_Impl> const router = GetTarget())
                router->UpdateEnabled();
        }
    };

    Router_Impl::Router_Impl(
        char const* loggerName, char const* dispatcherName, QzSynch::EnumHvnLockStackCategory category)
        : mpProxy(new CallbackProxy),
          mpLogger(QzLog::GetLogger(loggerName, category)),
          mHandle(mpLogger->GetDispatcherCollection()->GetDispatcherHandle(dispatcherName))
    {
    }

    Router_Impl::~Router_Impl() = default;

    QzBase::CountedPtr<Router_Impl> Router_Impl::Create(
        char const* loggerName, char const* dispatcherName, QzSynch::EnumHvnLockStackCategory category)
    {
        QzBase::CountedPtr<Router_Impl> router(new Router_Impl(loggerName, dispatcherName, category));
        // Only now that the router is held: a notification takes a reference and releases it. If this fails, the
        // last release detaches the router again.
        router->Attach();
        return router;
    }

    void Router_Impl::Attach()
    {
        mpProxy->SetHandle(mHandle);
        mpProxy->SetTarget(this);
        mpLogger->AddCallback(mpProxy.get());
        // After the callback was added, so that no change is missed.
        UpdateEnabled();
    }

    void Router_Impl::OnLastRelease()
    {
        mpProxy->SetTarget(nullptr);
        mpLogger->RemoveCallback(mpProxy.get());
    }

    /// Notifications can overlap. One that read the list early must not overwrite the answer of a later one for good.
    /// Each store is an exchange that sees what the previous one saw. So the thread that stores last, and then finds
    /// its answer confirmed, has stored the present one.
    void Router_Impl::UpdateEnabled()
    {
        bool enabled = GetDispatcher()->HasDestinations();
        for (;;)
        {
            mEnabled.exchange(enabled, std::memory_order_acq_rel);
            bool const present = GetDispatcher()->HasDestinations();
            if (present == enabled)
                return;
            enabled = present;
        }
    }

    QzBase::ReturnPtrI<Dispatcher> Router_Impl::GetDispatcher()
    {
        return mpLogger->GetDispatcherCollection()->GetDispatcher(mHandle);
    }

    QzBase::ReturnPtrI<MessageCatalog> Router_Impl::GetMessageCatalog()
    {
        return mpLogger->GetMessageCatalog();
    }

    Loan<MessageCatalog> Router_Impl::BorrowMessageCatalog(Router& router)
    {
        if (typeid(router) != typeid(Router_Impl)) [[unlikely]]
            return Loan<MessageCatalog>(router.GetMessageCatalog());
        // The module makes no other loggers.
        return static_cast<Logger_Impl&>(*static_cast<Router_Impl&>(router).mpLogger).BorrowMessageCatalog();
    }

    QZLOG_CALL_FRAME void Router_Impl::LogAndUpdateMessage(QzBase::Message& message)
    {
        mpLogger->LogAndUpdateMessage(mHandle, message);
    }

    QZLOG_CALL_FRAME void Router_Impl::LogBaseMessage(QzBase::Message const& message)
    {
        mpLogger->LogBaseMessage(mHandle, message);
    }

    QZLOG_CALL_FRAME void Router_Impl::LogText(
        char const* text, unsigned int messageID, char const* fileName, char const* functionName, int lineNumber)
    {
        mpLogger->LogText(mHandle, text, messageID, fileName, functionName, lineNumber);
    }

    void Router_Impl::FormatHeaderJson(char const* text, unsigned int messageID, char const* fileName,
        char const* functionName, int lineNumber, std::string& headerJson)
    {
        mpLogger->FormatHeaderJson(mHandle, text, messageID, fileName, functionName, lineNumber, headerJson);
    }

    QzBase::ReturnPtrI<Router> CreateRouter(
        char const* loggerName, char const* dispatcherName, QzSynch::EnumHvnLockStackCategory category)
    {
        return QzBase::ReturnPtrI<Router>(Router_Impl::Create(loggerName, dispatcherName, category).get());
    }
}
