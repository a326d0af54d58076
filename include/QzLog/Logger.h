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

    /// A named set of dispatchers with one message catalog. The module holds one logger per name until it
    /// ends, so all routers with the same logger name share the logger. The log operations of a logger whose
    /// module has ended do nothing, also when the module runs again.
    ///
    /// All operations may be called from any thread at any time. No lock is held while a hook, a callback, a
    /// dispatcher's log operation or a destructor of the user's runs. Their exceptions propagate to the
    /// caller. Names and texts are UTF-8.
    class QZLOG_API Logger : public virtual QzBase::ReferenceCounted
    {
    public:
        /// Notified when the destinations of a dispatcher handle may have changed: the dispatcher at that
        /// handle got another list, or was replaced by another dispatcher.
        class QZLOG_API Callback : public virtual QzBase::ReferenceCounted
        {
        public:
            ~Callback() override;

            /// Called on the thread that made the change, with no lock held. A callback may add and remove
            /// callbacks. It can still be called once just after it has been removed.
            virtual void OnDispatcherChanged(unsigned short handle) = 0;
        };

        /// The logger's dispatchers, addressed by handle: the index in the order of creation, exclusive-ored
        /// with 0xDAFF. A handle is valid for the logger that issued it, as long as that logger lives. The
        /// collection lives as long as its logger.
        class QZLOG_API DispatcherCollection
        {
        public:
            /// The handle of the dispatcher of that name. On first use the dispatcher is created, passed to the
            /// configuration hook and appended. One name has one handle. Null counts as the empty name. Throws
            /// QzBase::Message if the logger already has 65,536 dispatchers, if the hook leaves its pointer null,
            /// or if a dispatcher would have to be created after the logger's module has ended.
            virtual unsigned short GetDispatcherHandle(char const* dispatcherName) = 0;

            /// The dispatcher that a handle stands for at present. Throws QzBase::Message for a handle that
            /// this logger never issued.
            virtual QzBase::ReturnPtrI<Dispatcher> GetDispatcher(unsigned short handle) = 0;

        protected:
            ~DispatcherCollection() = default;
        };

        ~Logger() override;

        /// Valid as long as the logger.
        virtual char const* GetName() = 0;

        /// Replaces the catalog for the message IDs of this logger; null removes it.
        virtual void SetMessageCatalog(MessageCatalog* catalog) = 0;

        /// The catalog, or null.
        virtual QzBase::ReturnPtrI<MessageCatalog> GetMessageCatalog() = 0;

        /// Passes every dispatcher to the hook, in the order of their handles, including those that are added
        /// meanwhile. If the hook replaces a dispatcher, the new one has the same handle. Throws QzBase::Message
        /// if the hook leaves its pointer null. An exception ends the walk; what was done until then remains.
        virtual void ApplyConfigurationHook(ConfigurationHook* hook) = 0;

        // These call the operation of the same name on the dispatcher of the handle; see GetDispatcher.

        virtual void LogAndUpdateMessage(unsigned short handle, QzBase::Message& message) = 0;
        virtual void LogBaseMessage(unsigned short handle, QzBase::Message const& message) = 0;
        virtual void LogText(unsigned short handle, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) = 0;

        /// Valid as long as the logger.
        virtual DispatcherCollection* GetDispatcherCollection() = 0;

        /// Adds a callback and takes a reference. One that was added before stays there once. Null changes nothing.
        virtual void AddCallback(Callback* callback) = 0;

        /// Removes a callback, however often it was added. An unknown one changes nothing.
        virtual void RemoveCallback(Callback* callback) = 0;

        /// As Router::FormatHeaderJson, for the dispatcher of the handle.
        virtual void FormatHeaderJson(unsigned short handle, char const* text, unsigned int messageID,
            char const* fileName, char const* functionName, int lineNumber, std::string& headerJson) = 0;

    private:
        friend class Dispatcher_Impl;
        friend class Logger_Impl;

        /// The number of the module that created this logger, counted from 1 in the process; 0 for a class of
        /// the user's, which belongs to whatever module runs.
        std::uint64_t mModuleNumber = 0;
    };

    /// The logger of that name. If there is none, it is created and passed to the configuration hook. Names
    /// are compared byte by byte; null counts as empty. May be called from any thread, also by a hook.
    /// \param category  for the logger's lock; ignored if the logger exists.
    /// Throws QzBase::Message while no Initializer is alive, and whatever the hook throws. The logger is then
    /// not created, and the next call begins anew.
    QZLOG_API QzBase::ReturnPtrI<Logger> GetLogger(
        char const* name, QzSynch::EnumHvnLockStackCategory category = QzSynch::kLockStackCategoryDefault);
}
