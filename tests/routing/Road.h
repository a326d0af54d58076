#pragma once

#include <QzLog/Destination.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/QzLog.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

// What the tests of the road put at its ends: a destination that remembers, and a user's hook, catalog and listener.

namespace Road
{
    using namespace QzLog;
    using QzBase::CountedPtr;
    using namespace QzBase::Literals;

    template <class Interface>
    class Counted : public Interface, public QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>
    {
    };

    struct Record
    {
        std::string mText; // "(null)" for a null text
        unsigned int mID;
        std::string mLogger;
        std::string mDispatcher;
        std::string mPlace; // file:function:line
        std::string mServer;
    };

    class RecordingDestination final : public Counted<Destination>
    {
    public:
        void WriteMessage(MessageHeader& header, MessageBody& body) override
        {
            WriteMessage(body.GetMessageText(0), header);
        }

        void WriteMessage(char const* text, MessageHeader& header) override
        {
            if (mAction)
                mAction();
            std::lock_guard const hold(mLock);
            mRecords.push_back(
                {text ? text : "(null)", header.GetMessageID(), header.GetLoggerName(), header.GetDispatcherName(),
                    std::string(header.GetSourceFile()) + ":" + header.GetSourceFunction() + ":" +
                        std::to_string(header.GetSourceLine()),
                    header.GetServerName()});
        }

        void SetCallstackMessageIDs(unsigned int const*, unsigned int) override {}

        std::vector<std::string> Texts()
        {
            std::vector<std::string> texts;
            std::lock_guard const hold(mLock);
            for (Record const& record : mRecords)
                texts.push_back(record.mText);
            return texts;
        }

        std::function<void()> mAction;
        std::function<void()> mAtEnd;
        std::mutex mLock;
        std::vector<Record> mRecords;

        ~RecordingDestination() override
        {
            if (mAtEnd)
                mAtEnd();
        }

    protected:
        unsigned short GetLanguageID() const override { return 0; }
        void SetLanguageID(unsigned short) override {}
    };

    class Hook final : public Counted<ConfigurationHook>
    {
    public:
        void ConfigureLogger(Logger* logger) override
        {
            if (mOnLogger)
                mOnLogger(*logger);
        }

        void ConfigureDispatcher(CountedPtr<Dispatcher>& dispatcher, Logger* logger) override
        {
            if (mOnDispatcher)
                mOnDispatcher(dispatcher, *logger);
        }

        ~Hook() override
        {
            if (mAtEnd)
                mAtEnd();
        }

        std::function<void(Logger&)> mOnLogger;
        std::function<void(CountedPtr<Dispatcher>&, Logger&)> mOnDispatcher;
        std::function<void()> mAtEnd;
    };

    class Catalog final : public Counted<MessageCatalog>
    {
    public:
        QzBase::ReturnString GetMessageString(unsigned int id, unsigned short, char const* context) override
        {
            return QzBase::ReturnString("string " + std::to_string(id) + " " + context);
        }

        QzResource::MessageTemplate const& GetMessageTemplate(unsigned int, unsigned short, char const*) override
        {
            return mTemplate;
        }

        ~Catalog() override
        {
            if (mAtEnd)
                mAtEnd();
        }

        QzResource::MessageTemplate mTemplate{"template %1-%2"};
        std::function<void()> mAtEnd;
    };

    class Listener final : public Counted<Logger::Callback>
    {
    public:
        void OnDispatcherChanged(unsigned short handle) override
        {
            mHandles.push_back(handle);
            if (mAction)
                mAction();
        }

        std::vector<unsigned short> mHandles;
        std::function<void()> mAction;
    };

    inline CountedPtr<Router> MakeRouter(char const* dispatcher = "D", char const* logger = "L")
    {
        return CreateRouter(logger, dispatcher, QzSynch::kLockStackCategoryDefault);
    }

    inline void SetDestinations(Dispatcher& dispatcher, std::initializer_list<Destination*> destinations)
    {
        dispatcher.SetDestinations(CreateDestinationCollection(destinations));
    }

    /// A router whose dispatcher writes to a destination of its own.
    struct Line
    {
        explicit Line(char const* dispatcher = "D") : mpRouter(MakeRouter(dispatcher))
        {
            SetDestinations(*mpRouter->GetDispatcher(), {mpDestination.get()});
        }

        CountedPtr<RecordingDestination> mpDestination{new RecordingDestination};
        CountedPtr<Router> mpRouter;
    };
}
