#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>

namespace QzLog
{
    class Dispatcher;
    class Logger;

    /// Configures loggers and dispatchers. Implemented by the library's user and installed with
    /// SetConfigurationHook; the library reads no settings itself. A hook that sends everything to one
    /// file, and how it is installed:
    ///
    ///     dispatcher->SetDestinations(QzLog::CreateDestinationCollection({mpFile.get()})); // its ConfigureDispatcher
    ///     ...
    ///     QzBase::CountedPtr<Hook> const hook(new Hook); // class Hook : public QzSynch::Counted<ConfigurationHook>
    ///     QzLog::SetConfigurationHook(hook.get());
    ///
    /// Called on any thread that creates a logger or a dispatcher or runs RefreshConfiguration; several
    /// calls can overlap. No lock of the library is held meanwhile, so a hook may call everything. Its
    /// exceptions reach the caller of that operation; the new logger or dispatcher is then discarded.
    class QZLOG_API ConfigurationHook : public virtual QzBase::ReferenceCounted
    {
    public:
        ~ConfigurationHook() override;

        /// \param logger  not null. A new logger is not registered yet: GetLogger with its name would create
        ///                another one and call the hook again.
        virtual void ConfigureLogger(Logger* logger) = 0;

        /// \param dispatcher  not null. Set its destinations, or replace it by another dispatcher. It must not
        ///                    be null afterwards. A new dispatcher is not in the logger's list yet.
        ///                    Give a substitute the name of the dispatcher that it replaces. Dispatchers are
        ///                    looked up by name: if the names differ, each new router creates one more
        ///                    dispatcher and calls the hook again, until the logger has its 65,536.
        ///                    Messages show the name of the substitute.
        /// \param logger      the logger that owns it or will own it.
        virtual void ConfigureDispatcher(QzBase::CountedPtr<Dispatcher>& dispatcher, Logger* logger) = 0;
    };

    /// Replaces the present hook and takes a reference; null removes it. The hook is not called: existing
    /// loggers and dispatchers are passed to it by the next RefreshConfiguration.
    QZLOG_API void SetConfigurationHook(ConfigurationHook* hook);

    /// The present hook, or null.
    QZLOG_API QzBase::ReturnPtrI<ConfigurationHook> GetConfigurationHook();

    /// Passes every logger, in the order of their names, and each of its dispatchers to the present hook, also
    /// if another hook is installed meanwhile. Without a hook it does nothing. Messages are delivered meanwhile.
    /// An exception of the hook ends the walk and reaches the caller; what was done until then remains.
    QZLOG_API void RefreshConfiguration();
}
