#include "routing/Logger_Impl.h"

#include "message/CallFrame.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "routing/ErrnoGuard.h"
#include "routing/HandleCallback.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzLog/ConfigurationHook.h>
#include <QzSynch/CallbackProxyImpl.h>

#include <algorithm>
#include <functional>
#include <string_view>

namespace QzLog
{
    namespace
    {
        constexpr unsigned short HandleOf(std::size_t index)
        {
            return static_cast<unsigned short>(index ^ 0xDAFF);
        }

        constexpr std::size_t IndexOf(unsigned short handle)
        {
            return handle ^ std::size_t{0xDAFF};
        }

        std::size_t HashOf(std::string_view name) noexcept
        {
            return std::hash<std::string_view>()(name);
        }

        [[noreturn]] void ThrowMessage(char const* text, char const* loggerName)
        {
            QzBase::Message message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text);
            message << loggerName;
            throw QzBase::ExceptionImpl<QzBase::Message>(std::move(message));
        }

        void OfferToHook(ConfigurationHook& hook, QzBase::CountedPtr<Dispatcher>& dispatcher, Logger& logger)
        {
            hook.ConfigureDispatcher(dispatcher, &logger);
            if (!dispatcher)
                ThrowMessage("The configuration hook set a dispatcher of the logger '%1' to null.", logger.GetName());
        }
    }

    /// The logger's callback at its dispatchers. They hold it by counted reference, and it holds the logger by
    /// a bare pointer, so that there is no cycle.
    class Logger_Impl::CallbackProxy final : public QzSynch::Counted<Dispatcher::Callback>,
                                             public QzSynch::CallbackProxyImpl<Logger_Impl>
    {
    public:
        CallbackProxy() : CallbackProxyImpl(QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryDefault)) {}

        void OnDestinationsChanged(Dispatcher& dispatcher) override
        {
            if (QzBase::ReturnPtrI<Logger_Impl> const logger = GetTarget())
                logger->OnDestinationsChanged(dispatcher);
        }
    };

    /// Marks a dispatcher as arriving while it gets the callback and is added to the list.
    class Logger_Impl::Arrival
    {
    public:
        Arrival(Logger_Impl& logger, Dispatcher const* dispatcher) : mLogger(logger), mpDispatcher(dispatcher)
        {
            QzSynch::RWLock::WriteSmartLock const hold(*mLogger.mpLock);
            mLogger.mArriving.push_back(mpDispatcher);
        }

        ~Arrival()
        {
            QzSynch::RWLock::WriteSmartLock const hold(*mLogger.mpLock);
            mLogger.mArriving.erase(std::find(mLogger.mArriving.begin(), mLogger.mArriving.end(), mpDispatcher));
        }

        Arrival(Arrival const&) = delete;
        Arrival& operator=(Arrival const&) = delete;

    private:
        Logger_Impl& mLogger;
        Dispatcher const* const mpDispatcher;
    };

    Logger_Impl::Logger_Impl(char const* name, QzSynch::EnumHvnLockStackCategory category)
        : mpProxy(new CallbackProxy),
          mpLock(QzSynch::CreateForkSafeRWLock(category, QzSynch::Readers::kRare)),
          mName(name ? name : ""),
          mCallbacks(*mpLock)
    {
        mModuleNumber = gModuleInit.moduleNumber.load();
    }

    Logger_Impl::~Logger_Impl() = default;

    QzBase::CountedPtr<Logger_Impl> Logger_Impl::Create(char const* name, QzSynch::EnumHvnLockStackCategory category)
    {
        // The proxy gets the logger only now that somebody holds it: a notification that took the first reference
        // would delete the logger when it releases it.
        QzBase::CountedPtr<Logger_Impl> logger(new Logger_Impl(name, category));
        logger->mpProxy->SetTarget(logger.get());
        return logger;
    }

    void Logger_Impl::OnLastRelease()
    {
        mpProxy->SetTarget(nullptr);
        for (std::size_t index = 0; DispatcherPtr const dispatcher = GetDispatcherAt(index); ++index)
            dispatcher->RemoveCallback(mpProxy.get());
    }

    void Logger_Impl::SetMessageCatalog(MessageCatalog* catalog)
    {
        static_cast<void>(mCatalog.Exchange(QzBase::ReturnPtrI<MessageCatalog>(catalog), *mpLock));
    }

    QzBase::ReturnPtrI<MessageCatalog> Logger_Impl::GetMessageCatalog()
    {
        return QzBase::ReturnPtrI<MessageCatalog>(BorrowMessageCatalog().get());
    }

    QZLOG_CALL_FRAME void Logger_Impl::LogText(unsigned short handle, char const* text, unsigned int messageID,
        char const* fileName, char const* functionName, int lineNumber)
    {
        ErrnoGuard const keepErrno;
        Loan<Dispatcher> const dispatcher = BorrowDispatcher(handle);
        dispatcher->LogText(*this, text, messageID, fileName, functionName, lineNumber);
    }

    QZLOG_CALL_FRAME void Logger_Impl::LogBaseMessage(unsigned short handle, QzBase::Message const& message)
    {
        ErrnoGuard const keepErrno;
        Loan<Dispatcher> const dispatcher = BorrowDispatcher(handle);
        dispatcher->LogBaseMessage(*this, message);
    }

    QZLOG_CALL_FRAME void Logger_Impl::LogAndUpdateMessage(unsigned short handle, QzBase::Message& message)
    {
        ErrnoGuard const keepErrno;
        Loan<Dispatcher> const dispatcher = BorrowDispatcher(handle);
        dispatcher->LogAndUpdateMessage(*this, message);
    }

    void Logger_Impl::FormatHeaderJson(unsigned short handle, char const* text, unsigned int messageID,
        char const* fileName, char const* functionName, int lineNumber, std::string& headerJson)
    {
        ErrnoGuard const keepErrno;
        Loan<Dispatcher> const dispatcher = BorrowDispatcher(handle);
        dispatcher->FormatHeaderJson(*this, text, messageID, fileName, functionName, lineNumber, headerJson);
    }

    QzBase::ReturnPtrI<Dispatcher> Logger_Impl::GetDispatcher(unsigned short handle)
    {
        std::size_t const index = IndexOf(handle);
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            if (index < mDispatchers.GetSize())
                return QzBase::ReturnPtrI<Dispatcher>(mDispatchers[index]);
        }
        ThrowForeignHandle();
    }

    [[gnu::always_inline]] inline Loan<Dispatcher> Logger_Impl::BorrowDispatcher(unsigned short handle) const
    {
        if (Lendable<Dispatcher> const* const entry = mDispatchers.Find(IndexOf(handle))) [[likely]]
            return Loan<Dispatcher>(*entry, *mpLock);
        ThrowForeignHandle();
    }

    void Logger_Impl::ThrowForeignHandle() const
    {
        ThrowMessage("A dispatcher handle was used that the logger '%1' never issued.", mName.c_str());
    }

    Logger_Impl::DispatcherPtr Logger_Impl::GetDispatcherAt(std::size_t index) const
    {
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        return index < mDispatchers.GetSize() ? DispatcherPtr(mDispatchers[index]) : DispatcherPtr();
    }

    std::size_t Logger_Impl::FindByName(std::string const& name) const
    {
        std::size_t const hash = HashOf(name);
        auto const begin = mNameHashes.begin();
        auto const end = begin + static_cast<std::ptrdiff_t>(mDispatchers.GetSize());
        auto found = std::find(begin, end, hash);
        while (found != end && name != mDispatchers[static_cast<std::size_t>(found - begin)]->GetName())
            found = std::find(found + 1, end, hash);
        return static_cast<std::size_t>(found - begin);
    }

    bool Logger_Impl::IsListedOrArriving(Dispatcher const* dispatcher) const
    {
        for (std::size_t index = 0; index < mDispatchers.GetSize(); ++index)
        {
            if (mDispatchers[index] == dispatcher)
                return true;
        }
        return std::find(mArriving.begin(), mArriving.end(), dispatcher) != mArriving.end();
    }

    unsigned short Logger_Impl::GetDispatcherHandle(char const* dispatcherName)
    {
        std::string const name(dispatcherName ? dispatcherName : "");
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            std::size_t const index = FindByName(name);
            if (index < mDispatchers.GetSize())
                return HandleOf(index);
        }
        // The hook is held until its work is done, also when another one is installed meanwhile.
        RequiredModule const module;
        if (mModuleNumber != gModuleInit.moduleNumber.load())
            ThrowMessage("The logging module that created the logger '%1' has ended.", GetName());
        DispatcherPtr dispatcher(CreateDispatcher(name.c_str()));
        QzBase::ReturnPtrI<ConfigurationHook> const hook = module->GetConfigurationHook();
        if (hook)
            OfferToHook(*hook, dispatcher, *this);
        std::size_t index = 0;
        {
            Arrival const arrival(*this, dispatcher.get());
            dispatcher->AddCallback(mpProxy.get());
            if (Append(name, dispatcher, index))
                return HandleOf(index);
        }
        DetachUnlessListed(*dispatcher);
        if (index == mDispatchers.kMaxSize)
            ThrowMessage("The logger '%1' cannot have more than 65536 dispatchers.", GetName());
        return HandleOf(index);
    }

    /// Appends the dispatcher and gives its index, unless another thread was first with the name or the list is
    /// full: `index` is then the one of the name, or the list's kMaxSize.
    bool Logger_Impl::Append(std::string const& name, DispatcherPtr const& dispatcher, std::size_t& index)
    {
        QzBase::ReturnPtrI<Dispatcher> reference(dispatcher.get());
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        index = FindByName(name);
        if (index < mDispatchers.GetSize() || index == mDispatchers.kMaxSize)
            return false;
        // Drops that of a dispatcher for which the list had no memory.
        mNameHashes.resize(index);
        mNameHashes.push_back(HashOf(dispatcher->GetName()));
        mDispatchers.Append(std::move(reference));
        return true;
    }

    void Logger_Impl::ApplyConfigurationHook(ConfigurationHook* hook)
    {
        if (!hook)
            return;
        for (std::size_t index = 0; DispatcherPtr const present = GetDispatcherAt(index); ++index)
        {
            DispatcherPtr offered = present;
            OfferToHook(*hook, offered, *this);
            if (offered != present)
                Exchange(index, offered);
        }
    }

    /// The new dispatcher gets the callback before it enters the list; the old one loses it after it has left.
    void Logger_Impl::Exchange(std::size_t index, DispatcherPtr const& dispatcher)
    {
        auto const enter = [&]
        {
            Arrival const arrival(*this, dispatcher.get());
            dispatcher->AddCallback(mpProxy.get());
            QzBase::ReturnPtrI<Dispatcher> reference(dispatcher.get());
            QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
            mNameHashes[index] = HashOf(dispatcher->GetName());
            return mDispatchers.Exchange(index, std::move(reference));
        };
        Replaced<Dispatcher> const replaced = enter();
        DetachUnlessListed(*replaced);
        Notify(Places().set(index), index + 1);
    }

    /// A hook may give out one dispatcher several times. So a dispatcher that leaves one index can be listed at
    /// another, or another thread may be adding it. No lock is held while the callback is added or removed. A listed
    /// dispatcher keeps its callback nevertheless: whoever lists it marks it as arriving before adding the callback,
    /// and whoever removes the callback then checks whether it is needed, and adds it again. A change in between
    /// has notified nobody, hence the notification.
    void Logger_Impl::DetachUnlessListed(Dispatcher& dispatcher)
    {
        auto const isNeeded = [&]
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            return IsListedOrArriving(&dispatcher);
        };
        if (isNeeded())
            return;
        dispatcher.RemoveCallback(mpProxy.get());
        if (!isNeeded())
            return;
        dispatcher.AddCallback(mpProxy.get());
        OnDestinationsChanged(dispatcher);
    }

    /// Notifies for every index at which the dispatcher is listed. The name counts as well as the object: the caller
    /// may be an object that stands in for the listed one, and one object can be in the lists of several loggers.
    void Logger_Impl::OnDestinationsChanged(Dispatcher& dispatcher)
    {
        Places places;
        std::size_t end = 0;
        {
            std::string_view const name(dispatcher.GetName());
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            for (; end < mDispatchers.GetSize(); ++end)
                places[end] = mDispatchers[end] == &dispatcher || name == mDispatchers[end]->GetName();
        }
        Notify(places, end);
    }

    void Logger_Impl::Notify(Places const& places, std::size_t end)
    {
        auto const tell = [&](Logger::Callback& callback, std::size_t index)
        {
            if (places[index])
                callback.OnDispatcherChanged(HandleOf(index));
        };
        mCallbacks.CallEach(
            [&](Logger::Callback& callback)
            {
                if (auto const* const ofOneHandle = dynamic_cast<HandleCallback const*>(&callback))
                    return tell(callback, IndexOf(ofOneHandle->GetHandle()));
                for (std::size_t index = 0; index < end; ++index)
                    tell(callback, index);
            });
    }

    QzBase::ReturnPtrI<Logger> GetLogger(char const* name, QzSynch::EnumHvnLockStackCategory category)
    {
        return RequiredModule()->GetLogger(name, category);
    }
}
