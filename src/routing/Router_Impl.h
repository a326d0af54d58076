#pragma once

#include "routing/Loan.h"

#include <QzLog/Logger.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/Router.h>
#include <QzSynch/ReferenceCountedImpl.h>

namespace QzLog
{
    class Router_Impl final : public QzSynch::Counted<Router>
    {
    public:
        static QzBase::CountedPtr<Router_Impl> Create(
            char const* loggerName, char const* dispatcherName, QzSynch::EnumHvnLockStackCategory category);

        Logger* GetLogger() override { return mpLogger.get(); }
        QzBase::ReturnPtrI<Dispatcher> GetDispatcher() override;
        QzBase::ReturnPtrI<MessageCatalog> GetMessageCatalog() override;
        void LogAndUpdateMessage(QzBase::Message& message) override;
        void LogBaseMessage(QzBase::Message const& message) override;
        void LogText(char const* text, unsigned int messageID, char const* fileName, char const* functionName,
            int lineNumber) override;
        void FormatHeaderJson(char const* text, unsigned int messageID, char const* fileName, char const* functionName,
            int lineNumber, std::string& headerJson) override;

        void OnLastRelease() override;

        /// The catalog of a router for one call. Of a router of this class it is no counted reference: all threads that
        /// log by message IDs would write to that count.
        static Loan<MessageCatalog> BorrowMessageCatalog(Router& router);

    private:
        class CallbackProxy;

        Router_Impl(char const* loggerName, char const* dispatcherName, QzSynch::EnumHvnLockStackCategory category);
        ~Router_Impl() override;

        void Attach();
        void UpdateEnabled();

        QzBase::CountedPtr<CallbackProxy> mpProxy;
        QzBase::CountedPtr<Logger> mpLogger;
        unsigned short const mHandle;
    };
}
