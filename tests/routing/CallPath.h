#pragma once

#include <QzLog/QzLog.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// What the tests put at the two ends of the log path: a destination that records, and a hook, a catalog and a listener
// of the user's.

namespace CallPath
{
    using namespace QzLog;
    using namespace QzBase::Literals;
    using QzBase::CountedPtr;
    using QzSynch::Counted;

    /// A member that calls a function when its object is destroyed.
    struct AtEnd : std::function<void()>
    {
        using std::function<void()>::operator=;
        ~AtEnd()
        {
            if (*this)
                (*this)();
        }
    };

    struct Record
    {
        std::string mText; // "(null)" for a null text
        unsigned int mID;
        std::string mNames; // logger/dispatcher
        std::string mPlace; // file:function:line
        std::string mServer;
    };

    class RecordingDestination final : public Counted<Destination_Impl>
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
            // A header builds its line when it is asked for it.
            if (mForgets && header.GetHeaderText())
                return;
            std::lock_guard const hold(mLock);
            mRecords.push_back({text ? text : "(null)", header.GetMessageID(),
                std::string(header.GetLoggerName()) + "/" + header.GetDispatcherName(),
                std::string(header.GetSourceFile()) + ":" + header.GetSourceFunction() + ":" +
                    std::to_string(header.GetSourceLine()),
                header.GetServerName()});
        }

        /// The texts so far, each followed by a blank.
        std::string TakeTexts()
        {
            std::string texts;
            std::lock_guard const hold(mLock);
            for (Record const& record : mRecords)
                texts += record.mText + " ";
            mRecords.clear();
            return texts;
        }

        bool mForgets = false;
        std::function<void()> mAction;
        AtEnd mAtEnd;
        std::mutex mLock;
        std::vector<Record> mRecords;
    };

    using DispatcherPtr = CountedPtr<Dispatcher>;

    class Hook final : public Counted<ConfigurationHook>
    {
    public:
        void ConfigureLogger(Logger* logger) override { mOnLogger(*logger); }
        void ConfigureDispatcher(DispatcherPtr& dispatcher, Logger*) override { mOnDispatcher(dispatcher); }

        std::function<void(Logger&)> mOnLogger = [](Logger&) {};
        std::function<void(DispatcherPtr&)> mOnDispatcher = [](DispatcherPtr&) {};
        AtEnd mAtEnd;
    };

    inline Hook& InstallHook()
    {
        CountedPtr<Hook> const hook(new Hook);
        SetConfigurationHook(hook.get());
        return *hook;
    }

    /// Shows what it was asked for.
    class Catalog final : public Counted<MessageCatalog>
    {
    public:
        QzBase::ReturnString GetMessageString(unsigned int id, unsigned short, char const* context) override
        {
            return QzBase::ReturnString("string " + std::to_string(id) + " " + context);
        }

        QzResource::MessageTemplate const& GetMessageTemplate(
            unsigned int, unsigned short, char const* context) override
        {
            mTemplate.SetText((std::string("%1 by %2") + (context ? context : "")).c_str());
            return mTemplate;
        }

        QzResource::MessageTemplate mTemplate;
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
        AtEnd mAtEnd;
    };

    inline CountedPtr<Logger> GetLogger(char const* name = "L")
    {
        return QzLog::GetLogger(name);
    }

    inline CountedPtr<Router> MakeRouter(char const* dispatcher = "D", char const* logger = "L")
    {
        return CreateRouter(logger, dispatcher);
    }

    inline void SetDestinations(Dispatcher& dispatcher, std::initializer_list<Destination*> destinations)
    {
        dispatcher.SetDestinations(CreateDestinationCollection(destinations));
    }

    inline void Log(Router& router, char const* text = "text")
    {
        LogString(router, text, nullptr, nullptr, nullptr, 0);
    }

    /// The module, which can be ended on the way, and a router whose dispatcher writes to one destination.
    struct Module
    {
        Module() { SetDestinations(*mpRouter->GetDispatcher(), {mpDestination.get()}); }

        std::optional<Initializer> mInitializer{std::in_place};
        CountedPtr<RecordingDestination> const mpDestination{new RecordingDestination};
        CountedPtr<Router> const mpRouter = MakeRouter();
        Router& mRouter = *mpRouter;
        RecordingDestination& mDestination = *mpDestination;
    };
}
