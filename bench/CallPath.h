#pragma once

#include "Calls.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <cstddef>

// What the benchmarks of the log path share: routers whose destination drops the messages, and the mixed messages of
// Calls.h through them.

namespace CallPath
{
    class DroppingDestination : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
        {
            WriteMessage(body.GetMessageText(GetLanguageID()), header);
        }

        void WriteMessage(char const* bodyText, QzLog::MessageHeader& header) override
        {
            benchmark::DoNotOptimize(header.GetHeaderText());
            benchmark::DoNotOptimize(bodyText);
        }
    };

    /// A router whose messages are dropped.
    inline QzBase::CountedPtr<QzLog::Router> MakeDroppingRouter(char const* logger, char const* dispatcher)
    {
        QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter(logger, dispatcher));
        QzBase::CountedPtr<QzLog::Destination> const destination(new DroppingDestination);
        router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({destination.get()}));
        return router;
    }

    /// Logs the calls in turn.
    class MixedMessages
    {
    public:
        MixedMessages()
        {
            for (std::size_t i = 0; i < kCallCount; ++i)
            {
                mpRouters[i] = MakeDroppingRouter(kCalls[i].mpLogger, kCalls[i].mpDispatcher);
                mIdentities[i].userID = kCalls[i].mpUser;
                if (kCalls[i].mMessageID != 0)
                    mpRouters[i]->GetLogger()->SetMessageCatalog(mpCatalog.get());
            }
        }

        void Log(std::size_t number)
        {
            std::size_t const i = number % kCallCount;
            Call const& call = kCalls[i];
            QzLog::SetThreadSpecificLogInfo(mIdentities[i]);
            if (call.mMessageID != 0)
                QzLog::LogString(*mpRouters[i], call.mMessageID, nullptr, call.mpFile, call.mpFunction, call.mLine);
            else
                QzLog::LogString(*mpRouters[i], kText, nullptr, call.mpFile, call.mpFunction, call.mLine);
        }

    private:
        class Catalog : public QzSynch::Counted<QzLog::MessageCatalog>
        {
        public:
            QzBase::ReturnString GetMessageString(unsigned int, unsigned short, char const*) override { return kText; }

            QzResource::MessageTemplate const& GetMessageTemplate(unsigned int, unsigned short, char const*) override
            {
                return mTemplate;
            }

        private:
            QzResource::MessageTemplate mTemplate{kText};
        };

        QzBase::CountedPtr<Catalog> const mpCatalog{new Catalog};
        QzBase::CountedPtr<QzLog::Router> mpRouters[kCallCount];
        QzLog::ThreadSpecificLogInfo mIdentities[kCallCount];
    };
}
