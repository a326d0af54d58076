#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>
#include <QzLog/MessageCatalog.h>
#include <QzSynch/Locks.h>

#include <cstdint>
#include <string>

namespace QzLog
{
    class ConfigurationHook;
    class Dispatcher;

    /// A named family of dispatchers with one message catalog. The module keeps one logger per name until
    /// it ends, so that all routers that name the same logger share it. The log operations of a logger whose
    /// module has ended do nothing, also when the module runs again.
    ///
    /// All operations may be called from any thread at any time. No lock is held while a hook, a callback,
    /// a dispatcher's log operation or a destructor of the user's runs. Exceptions from those pass to the
    /// caller. Names and texts are UTF-8.
    class QZLOG_API Logger : public virtual QzBase::ReferenceCounted
    {
    public:
        /// Told when the destinations behind a dispatcher handle may have changed: the dispatcher at that
        /// handle got another list, or another dispatcher took its place.
        class QZLOG_API Callback : public virtual QzBase::ReferenceCounted
        {
        public:
            ~Callback() override;

            /// Called on the thread that made the change, with no lock held. A callback may add and remove
            /// callbacks, and can be called once more just after it has been removed.
            virtual void OnDispatcherChanged(unsigned short handle) = 0;
        };

        /// The logger's dispatchers, addressed by handle: the index in the order of creation, exclusive-ored
        /// with 0xDAFF. A handle stays valid as long as the logger that issued it and means nothing to another
        /// one. This is a second face of the logger and lives as long.
        class QZLOG_API DispatcherCollection
        {
        public:
            /// The handle of the dispatcher of that name, which is created, offered to the configuration hook
            /// and appended on first use. One name has one handle. Null counts as the empty name.
            /// Throws QzBase::Message when the logger has 65,536 dispatchers, when the hook leaves its pointer
            /// null, and when a dispatcher has to be created after the logger's module has ended.
            virtual unsigned short GetDispatcherHandle(char const* dispatcherName) = 0;

            /// The dispatcher that stands at a handle at this moment. Throws QzBase::Message for a handle that
            /// this logger never issued.
            virtual QzBase::ReturnPtrI<Dispatcher> GetDispatcher(unsigned short handle) = 0;

        protected:
            ~DispatcherCollection() = default;
        };

        ~Logger() override;

        /// Valid as long as the logger.
        virtual char const* GetName() = 0;

        /// Replaces the catalog that serves the message IDs of this logger; null removes it.
        virtual void SetMessageCatalog(MessageCatalog* catalog) = 0;

        /// The catalog, or null.
        virtual QzBase::ReturnPtrI<MessageCatalog> GetMessageCatalog() = 0;

        /// Offers every dispatcher to the hook, in the order of their handles, those included that are added
        /// meanwhile. A dispatcher that the hook exchanges keeps its handle. An exception ends the walk; what
        /// was done stays. Throws QzBase::Message when the hook leaves its pointer null.
        virtual void ApplyConfigurationHook(ConfigurationHook* hook) = 0;

        // These find the dispatcher of the handle, as GetDispatcher does, and call its operation of the same name.

        virtual void LogAndUpdateMessage(unsigned short handle, QzBase::Message& message) = 0;
        virtual void LogBaseMessage(unsigned short handle, QzBase::Message const& message) = 0;
        virtual void LogText(unsigned short handle, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) = 0;

        /// Valid as long as the logger.
        virtual DispatcherCollection* GetDispatcherCollection() = 0;

        /// Adds a callback, with a reference. One that is there already stays, once; null changes nothing.
        virtual void AddCallback(Callback* callback) = 0;

        /// Takes a callback out, however often it was added. An unknown one changes nothing.
        virtual void RemoveCallback(Callback* callback) = 0;

        /// As Router::FormatHeaderJson, for the dispatcher of the handle.
        virtual void FormatHeaderJson(unsigned short handle, char const* text, unsigned int messageID,
            char const* fileName, char const* functionName, int lineNumber, std::string& headerJson) = 0;

    private:
        friend class Dispatcher_Impl;
        friend class Logger_Impl;

        /// Which of the process's modules made this logger, from 1 on; 0 for a class of the user's own, which
        /// belongs to whatever module runs.
        std::uint64_t mModuleNumber = 0;
    };

    /// The logger of that name; it is created and offered to the configuration hook when there is none yet.
    /// Names are compared byte by byte; null counts as empty. Callable from any thread, also by a hook.
    /// \param category  for the logger's lock; ignored when the logger exists.
    /// Throws QzBase::Message when no Initializer is alive, and whatever the hook throws; the logger then does
    /// not come into being, and the next call starts afresh.
    QZLOG_API QzBase::ReturnPtrI<Logger> GetLogger(
        char const* name, QzSynch::EnumHvnLockStackCategory category = QzSynch::kLockStackCategoryDefault);
}
