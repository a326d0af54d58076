#include <QzLogKit/LoggerHandle.h>

#include "ForkSafeLock.h"

#include <QzLog/Dispatcher.h>
#include <QzSynch/ReferenceCountedImpl.h>
#include <QzSynch/ThreadSpecificLogInfo.h>

#include <utility>

namespace QzLogKit
{
    namespace
    {
        /// What a handle gives while the module does not run. It is never enabled, so nothing is ever called.
        class NoRouter final : public QzSynch::Counted<QzLog::Router>
        {
        public:
            QzLog::Logger* GetLogger() override { return nullptr; }
            QzBase::ReturnPtrI<QzLog::Dispatcher> GetDispatcher() override { return nullptr; }
            QzBase::ReturnPtrI<QzLog::MessageCatalog> GetMessageCatalog() override { return nullptr; }
            void LogAndUpdateMessage(QzBase::Message&) override {}
            void LogBaseMessage(QzBase::Message const&) override {}
            void LogText(char const*, unsigned int, char const*, char const*, int) override {}
            void FormatHeaderJson(char const*, unsigned int, char const*, char const*, int, std::string&) override {}
        };

        QzLog::Router& GetNoRouter()
        {
            // Static objects may log after it would have ended.
            static QzLog::Router& router = *new NoRouter;
            return router;
        }

        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] QzLog::Router& gNoRouter = GetNoRouter();

        bool IsModuleRunning()
        {
            return QzSynch::CaptureThreadSpecificLogInfo() != nullptr;
        }
    }

    /// The handles that have a router.
    class RouterHandle::All
    {
    public:
        static All& Get()
        {
            static All& all = *new All;
            return all;
        }

        static All& gAll;

        ForkSafeLock mLock;
        RouterHandle const* mpFirst = nullptr;
    };

    // Created when the library is loaded, so that no fork happens during its construction.
    RouterHandle::All& RouterHandle::All::gAll = Get();

    RouterHandle::~RouterHandle()
    {
        if (!mpRouter.load(std::memory_order_relaxed))
            return;
        {
            ForkSafeLock::WriteHold const hold(All::Get().mLock);
            RouterHandle const** place = &All::Get().mpFirst;
            while (*place != this)
                place = &(*place)->mpNext;
            *place = mpNext;
        }
        Release();
    }

    QzLog::Router& RouterHandle::Find() const
    {
        if (!IsModuleRunning())
            return GetNoRouter();
        QzBase::CountedPtr<QzLog::Router> router;
        try
        {
            router = QzLog::CreateRouter(mpLoggerName, mpDispatcherName);
        }
        catch (QzBase::Message const&)
        {
            if (IsModuleRunning())
                throw;
            return GetNoRouter();
        }
        ForkSafeLock::WriteHold const hold(All::Get().mLock);
        // Another thread may have been first. The router of this one is then released without the lock.
        if (QzLog::Router* const known = mpRouter.load(std::memory_order_relaxed))
            return *known;
        router->AddRef();
        mpRouter.store(router.get(), std::memory_order_release);
        mpNext = std::exchange(All::Get().mpFirst, this);
        return *router;
    }

    void RouterHandle::Release() const
    {
        if (QzLog::Router* const router = mpRouter.exchange(nullptr, std::memory_order_acq_rel))
            router->Release();
    }

    void RouterHandle::ReleaseAll()
    {
        for (;;)
        {
            RouterHandle const* handle = nullptr;
            {
                ForkSafeLock::WriteHold const hold(All::Get().mLock);
                handle = All::Get().mpFirst;
                if (!handle)
                    return;
                All::Get().mpFirst = std::exchange(handle->mpNext, nullptr);
            }
            handle->Release();
        }
    }
}
