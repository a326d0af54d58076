#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>
#include <QzLog/MessageCatalog.h>
#include <QzSynch/Locks.h>

#include <atomic>
#include <string>

namespace QzLog
{
    class Dispatcher;
    class Logger;

    /// What a piece of code holds in order to log: one logger and one dispatcher of that logger, chosen by
    /// their names. Created by CreateRouter; lives as long as somebody holds it.
    ///
    ///     QzBase::CountedPtr<QzLog::Router> const info(QzLog::CreateRouter("Kernel", "Info")); // once, and kept
    ///     info->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({file.get()})); // or by a hook
    ///     QzLog::Log(*info, "User %1 has signed in.", user);
    ///
    /// All operations may be called from any thread at any time. They catch nothing: what a destination
    /// throws reaches the caller. The log operations do nothing while the dispatcher has no destinations, and
    /// never again once the module that created the router has ended. Texts are UTF-8.
    class QZLOG_API Router : public virtual QzBase::ReferenceCounted
    {
    public:
        ~Router() override;

        /// The router's logger. No reference is taken: valid as long as the router.
        virtual Logger* GetLogger() = 0;

        /// The present dispatcher of the router; configuration may replace it.
        virtual QzBase::ReturnPtrI<Dispatcher> GetDispatcher() = 0;

        /// The logger's message catalog, or null.
        virtual QzBase::ReturnPtrI<MessageCatalog> GetMessageCatalog() = 0;

        // The four operations below do not test mEnabled; their callers do.

        /// Delivers a structured message, which each destination renders in its own language, and adds to it
        /// the localised texts that the destinations have looked up.
        virtual void LogAndUpdateMessage(QzBase::Message& message) = 0;

        /// Delivers a structured message.
        virtual void LogBaseMessage(QzBase::Message const& message) = 0;

        /// Delivers finished text.
        /// \param text          may be null, which the destinations treat as empty.
        /// \param messageID     0 for none.
        /// \param fileName      the source location of the call; file and function may be null. Shown by
        /// \param functionName  the dispatcher named "Error" only.
        /// \param lineNumber
        virtual void LogText(char const* text, unsigned int messageID, char const* fileName, char const* functionName,
            int lineNumber) = 0;

        /// Sets `headerJson` to the JSON text of the header that such a message would have, and delivers
        /// nothing. The dispatcher need not have destinations. `text` is not read. `headerJson` is unchanged if
        /// the module has ended.
        virtual void FormatHeaderJson(char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber, std::string& headerJson) = 0;

        /// Whether the dispatcher has at least one destination. Test it before anything else is done for a
        /// message. Read it relaxed. Only the router writes it.
        std::atomic<bool> mEnabled{false};
    };

    /// A router for the named logger and dispatcher. If they do not exist yet, they are created and passed
    /// to the configuration hook. Names are UTF-8 and compared byte by byte; null counts as empty. May be
    /// called from any thread, also by a hook.
    /// \param category  for the lock of the logger, if this call creates it.
    /// Throws QzBase::Message while no Initializer is alive, whatever the hook throws, and what
    /// Logger::DispatcherCollection::GetDispatcherHandle throws.
    QZLOG_API QzBase::ReturnPtrI<Router> CreateRouter(char const* loggerName, char const* dispatcherName,
        QzSynch::EnumHvnLockStackCategory category = QzSynch::kLockStackCategoryDefault);
}
