#include "routing/Dispatcher_Impl.h"

#include "message/CallFrame.h"
#include "message/MessageBody_Impl.h"
#include "message/MessageHeader_Impl.h"
#include "os/Fork.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "root/ThreadContext.h"
#include "routing/ErrnoGuard.h"
#include "support/base/MessageMemory.h"
#include "support/synch/ForkSafeLocks.h"

namespace QzLog
{
    namespace
    {
        [[gnu::always_inline]] inline MessageHeader& StampHeader(ThreadContext& context, Logger& logger,
            Dispatcher_Impl& dispatcher, unsigned int messageID, SourceLocation const& location)
        {
            MessageHeader_Impl& header = *context.GetMessageHeader();
            header.Stamp(logger.GetName(), dispatcher.GetName(), location, messageID, context.GetServerName());
            return header;
        }

        /// A structured message comes without a source location.
        MessageHeader& StampHeader(
            ThreadContext& context, Logger& logger, Dispatcher_Impl& dispatcher, QzBase::Message const& message)
        {
            return StampHeader(
                context, logger, dispatcher, static_cast<unsigned int>(message.GetID()), {nullptr, nullptr, 0});
        }

        /// The thread's body with one message, during its delivery.
        class FilledBody
        {
        public:
            FilledBody(ThreadContext& context, QzBase::Message const& message) : mBody(*context.GetMessageBody())
            {
                mBody.SetMessage(message);
            }
            ~FilledBody() { mBody.GiveBackLongMessage(); }
            FilledBody(FilledBody const&) = delete;
            FilledBody& operator=(FilledBody const&) = delete;

            MessageBody& operator*() const noexcept { return mBody; }

        private:
            MessageBody_Impl& mBody;
        };
    }

    Dispatcher_Impl::DestinationList::DestinationList(DestinationCollection& collection)
    {
        unsigned int const count = collection.GetCount();
        mDestinations.reserve(count);
        for (unsigned int index = 0; index < count; ++index)
        {
            Destination* const destination = collection.GetDestination(index);
            if (!destination)
            {
                throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(
                    QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, "A list of log destinations contains a null destination."));
            }
            mDestinations.emplace_back(destination);
        }
    }

    Dispatcher_Impl::Dispatcher_Impl(char const* name)
        : mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault, QzSynch::Readers::kRare)),
          mName(name ? name : ""),
          mCallbacks(*mpLock)
    {
    }

    /// A pin that sees a module also sees its number, which was set before the module was published.
    inline bool Dispatcher_Impl::HasOutlivedItsModule(Logger const& logger) noexcept
    {
        return logger.mModuleNumber != gModuleInit.moduleNumber.load(std::memory_order_relaxed) &&
               logger.mModuleNumber != 0;
    }

    bool Dispatcher_Impl::HasDestinations()
    {
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        return mDestinations.Get() != nullptr;
    }

    // In the three deliveries the pin is taken first and released last, so that a destination whose last reference
    // is released with the list still finds the module alive. They call the destinations themselves, without a
    // helper in between: a call stack begins with a fixed number of the library's own frames. In a fork handler they
    // do nothing: in a child whose handlers have not all run, a record would carry the parent's process ID.

    QZLOG_CALL_FRAME void Dispatcher_Impl::LogText(Logger& logger, char const* text, unsigned int messageID,
        char const* fileName, char const* functionName, int lineNumber)
    {
        if (QzOs::IsForking())
            return;
        ErrnoGuard const keepErrno;
        ModulePin const module;
        Loan<DestinationList> const list(mDestinations, *mpLock);
        if (!list || !module || HasOutlivedItsModule(logger))
            return;
        MessageHeader& header =
            StampHeader(*module->GetThreadContext(), logger, *this, messageID, {fileName, functionName, lineNumber});
        for (QzBase::CountedPtr<Destination> const& destination : list->mDestinations)
            destination->WriteMessage(text, header);
    }

    QZLOG_CALL_FRAME void Dispatcher_Impl::LogBaseMessage(Logger& logger, QzBase::Message const& message)
    {
        if (QzOs::IsForking())
            return;
        ErrnoGuard const keepErrno;
        ModulePin const module;
        Loan<DestinationList> const list(mDestinations, *mpLock);
        if (!list || !module || HasOutlivedItsModule(logger))
            return;
        ThreadContext& context = *module->GetThreadContext();
        MessageHeader& header = StampHeader(context, logger, *this, message);
        FilledBody const body(context, message);
        for (QzBase::CountedPtr<Destination> const& destination : list->mDestinations)
            destination->WriteMessage(header, *body);
    }

    QZLOG_CALL_FRAME void Dispatcher_Impl::LogAndUpdateMessage(Logger& logger, QzBase::Message& message)
    {
        if (QzOs::IsForking())
            return;
        ErrnoGuard const keepErrno;
        ModulePin const module;
        Loan<DestinationList> const list(mDestinations, *mpLock);
        if (!list || !module || HasOutlivedItsModule(logger))
            return;
        ThreadContext& context = *module->GetThreadContext();
        MessageHeader& header = StampHeader(context, logger, *this, message);
        FilledBody const body(context, message);
        for (QzBase::CountedPtr<Destination> const& destination : list->mDestinations)
            destination->WriteMessage(header, *body);
        QzBase::MessageMemory::Assign(message, (*body).GetMessage());
    }

    void Dispatcher_Impl::FormatHeaderJson(Logger& logger, char const*, unsigned int messageID, char const* fileName,
        char const* functionName, int lineNumber, std::string& headerJson)
    {
        ErrnoGuard const keepErrno;
        ModulePin const module;
        if (!module || HasOutlivedItsModule(logger))
            return;
        MessageHeader& header =
            StampHeader(*module->GetThreadContext(), logger, *this, messageID, {fileName, functionName, lineNumber});
        headerJson = header.GetHeaderJSON();
    }

    void Dispatcher_Impl::SetDestinations(QzBase::CountedPtr<DestinationCollection> const& destinations)
    {
        QzBase::ReturnPtrI<DestinationList> list(destinations ? new DestinationList(*destinations) : nullptr);
        if (list && list->mDestinations.empty())
            list = nullptr;
        Replaced<DestinationList> const replaced = mDestinations.Exchange(std::move(list), *mpLock);
        mCallbacks.CallEach([this](Dispatcher::Callback& callback) { callback.OnDestinationsChanged(*this); });
    }

    QzBase::ReturnPtrI<Dispatcher> CreateDispatcher(char const* name)
    {
        return QzBase::ReturnPtrI<Dispatcher>(new Dispatcher_Impl(name));
    }
}
