#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>

namespace QzLog
{
    class Dispatcher;
    class Logger;

    /// Sets loggers and dispatchers up. Implemented by the library's user and installed with
    /// SetConfigurationHook; the library reads no settings of its own. A hook that sends everything to one
    /// file, and how it is installed:
    ///
    ///     dispatcher->SetDestinations(QzLog::CreateDestinationCollection({mpFile.get()})); // its ConfigureDispatcher
    ///     ...
    ///     QzBase::CountedPtr<Hook> const hook(new Hook); // class Hook : public QzSynch::Counted<ConfigurationHook>
    ///     QzLog::SetConfigurationHook(hook.get());
    ///
    /// Called on any thread that creates a logger or a dispatcher or runs RefreshConfiguration, and several
    /// calls can overlap. No lock of the library is held meanwhile, so a hook may call everything. What it
    /// throws reaches the caller of the operation that called it; what was being created is then dropped.
    class QZLOG_API ConfigurationHook : public virtual QzBase::ReferenceCounted
    {
    public:
        ~ConfigurationHook() override;

        /// \param logger  not null. A new logger is not registered yet: GetLogger with its name would create
        ///                another one and call the hook again.
        virtual void ConfigureLogger(Logger* logger) = 0;

        /// \param dispatcher  the dispatcher, to be given its destinations; or put another one in its place.
        ///                    It must not be left null. A new one does not stand in the logger's list yet.
        ///                    Give a substitute the name of the dispatcher that it replaces. Dispatchers are
        ///                    looked up by name: if the names differ, each new router makes one more
        ///                    dispatcher and calls the hook again, until the logger has its 65,536.
        ///                    Messages show the name of the substitute.
        /// \param logger      the logger that owns it or will own it.
        virtual void ConfigureDispatcher(QzBase::CountedPtr<Dispatcher>& dispatcher, Logger* logger) = 0;
    };

    /// Installs a hook in place of the present one, with a reference; null removes it. Calls nothing on it:
    /// existing objects meet it at the next RefreshConfiguration.
    QZLOG_API void SetConfigurationHook(ConfigurationHook* hook);

    /// The present hook, or null.
    QZLOG_API QzBase::ReturnPtrI<ConfigurationHook> GetConfigurationHook();

    /// Offers every logger, in the order of their names, and each of its dispatchers to the hook. Without a
    /// hook it does nothing. Messages go on flowing meanwhile. The hook that was installed at the start serves
    /// to the end. An exception from the hook ends the walk and reaches the caller; what was done stays.
    QZLOG_API void RefreshConfiguration();
}
