#pragma once

#include "routing/CallbackSet.h"
#include "routing/Loan.h"

#include <QzLog/Destination.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Logger.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <string>
#include <vector>

namespace QzLog
{
    class Dispatcher_Impl : public QzSynch::Counted<Dispatcher>
    {
    public:
        explicit Dispatcher_Impl(char const* name);

        char const* GetName() final { return mName.c_str(); }
        bool HasDestinations() override;
        void LogAndUpdateMessage(Logger& logger, QzBase::Message& message) override;
        void LogBaseMessage(Logger& logger, QzBase::Message const& message) override;
        void LogText(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) override;
        void SetDestinations(QzBase::CountedPtr<DestinationCollection> const& destinations) override;
        void AddCallback(Dispatcher::Callback* callback) override { mCallbacks.Add(callback); }
        void RemoveCallback(Dispatcher::Callback* callback) override { mCallbacks.Remove(callback); }
        void FormatHeaderJson(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber, std::string& headerJson) override;

    private:
        /// The destinations as SetDestinations gave them; never changed afterwards. A message protects it
        /// with a loan (Loan.h) instead of copying the list: it allocates nothing and writes to no shared memory.
        class DestinationList final : public QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>
        {
        public:
            explicit DestinationList(DestinationCollection& collection);

            std::vector<QzBase::CountedPtr<Destination>> mDestinations;
        };

        /// For callers that have pinned the module.
        static bool HasOutlivedItsModule(Logger const& logger) noexcept;

        QzSynch::RWLockPtr const mpLock;
        std::string const mName;
        /// Null when there are no destinations.
        Lendable<DestinationList> mDestinations;
        CallbackSet<Dispatcher::Callback> mCallbacks;
    };
}
