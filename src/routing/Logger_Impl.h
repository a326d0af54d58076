#pragma once

#include "routing/CallbackSet.h"
#include "routing/LendableList.h"

#include <QzLog/Dispatcher.h>
#include <QzLog/Logger.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

namespace QzLog
{
    class Logger_Impl final : public QzSynch::Counted<Logger>, public Logger::DispatcherCollection
    {
    public:
        /// A new logger that no registry knows yet.
        static QzBase::CountedPtr<Logger_Impl> Create(char const* name, QzSynch::EnumHvnLockStackCategory category);

        char const* GetName() override { return mName.c_str(); }
        void SetMessageCatalog(MessageCatalog* catalog) override;
        QzBase::ReturnPtrI<MessageCatalog> GetMessageCatalog() override;
        void ApplyConfigurationHook(ConfigurationHook* hook) override;
        void LogAndUpdateMessage(unsigned short handle, QzBase::Message& message) override;
        void LogBaseMessage(unsigned short handle, QzBase::Message const& message) override;
        void LogText(unsigned short handle, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) override;
        Logger::DispatcherCollection* GetDispatcherCollection() override { return this; }
        void AddCallback(Logger::Callback* callback) override { mCallbacks.Add(callback); }
        void RemoveCallback(Logger::Callback* callback) override { mCallbacks.Remove(callback); }
        void FormatHeaderJson(unsigned short handle, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber, std::string& headerJson) override;

        unsigned short GetDispatcherHandle(char const* dispatcherName) override;
        QzBase::ReturnPtrI<Dispatcher> GetDispatcher(unsigned short handle) override;

        void OnLastRelease() override;

        /// The catalog for one call. Takes no lock.
        Loan<MessageCatalog> BorrowMessageCatalog() const { return Loan<MessageCatalog>(mCatalog, *mpLock); }

    private:
        class CallbackProxy;
        class Arrival;
        /// Indexes in the list. It allocates nothing: a notification must not be lost for want of memory.
        using Places = std::bitset<LendableList<Dispatcher>::kMaxSize>;
        using DispatcherPtr = QzBase::CountedPtr<Dispatcher>;

        Logger_Impl(char const* name, QzSynch::EnumHvnLockStackCategory category);
        ~Logger_Impl() override;

        bool Append(std::string const& name, DispatcherPtr const& dispatcher, std::size_t& index);
        void Exchange(std::size_t index, DispatcherPtr const& dispatcher);
        void DetachUnlessListed(Dispatcher& dispatcher);

        /// The dispatcher of a handle for one call; throws as GetDispatcher does. Takes no lock.
        Loan<Dispatcher> BorrowDispatcher(unsigned short handle) const;
        [[noreturn]] void ThrowForeignHandle() const;

        /// The dispatcher at an index, or null past the end.
        DispatcherPtr GetDispatcherAt(std::size_t index) const;

        // The caller of these holds the lock, for reading at least.
        std::size_t FindByName(std::string const& name) const;
        bool IsListedOrArriving(Dispatcher const* dispatcher) const;

        void OnDestinationsChanged(Dispatcher& dispatcher);
        void Notify(Places const& places, std::size_t end);

        QzBase::CountedPtr<CallbackProxy> mpProxy;
        QzSynch::RWLockPtr const mpLock;
        std::string const mName;
        Lendable<MessageCatalog> mCatalog;
        /// In the order of creation. Grows only; an entry can be exchanged.
        LendableList<Dispatcher> mDispatchers;
        /// Of the names of the dispatchers: with thousands of them, asking each for its name takes a second.
        std::vector<std::size_t> mNameHashes;
        /// Dispatchers that are being added to the list, once for each time; guarded by the same lock.
        std::vector<Dispatcher const*> mArriving;
        CallbackSet<Logger::Callback> mCallbacks;
    };
}
