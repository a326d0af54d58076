// A hook of one's own decides in one place what goes where. The code that logs knows only the names of its logger
// and dispatcher; what it traces costs nothing until somebody wants to see it.

#include <QzLog/QzLog.h>

#include <atomic>
#include <cstring>

namespace
{
    class Hook final : public QzSynch::Counted<QzLog::ConfigurationHook>
    {
    public:
        void ConfigureLogger(QzLog::Logger*) override {}

        /// Called for each new dispatcher, and for all of them by RefreshConfiguration; on any thread.
        void ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger*) override
        {
            bool const isTrace = std::strcmp(dispatcher->GetName(), "Trace") == 0;
            if (isTrace && !mIsVerbose)
                dispatcher->SetDestinations(nullptr);
            else
                dispatcher->SetDestinations(QzLog::CreateDestinationCollection({mpTerminal.get()}));
        }

        std::atomic<bool> mIsVerbose{false};

    private:
        QzBase::CountedPtr<QzLog::Destination> mpTerminal{QzLog::GetDestination_DebugOutput()};
    };

    int Divide(QzLog::Router& trace, int dividend, int divisor)
    {
        QzLog::ScopeGuard guard(trace);
        QzLog::Log(trace, "%1 / %2", dividend, divisor);
        return guard.SetReturnCode(dividend / divisor);
    }
}

int main()
{
    QzLog::Initializer const module;
    QzBase::CountedPtr<Hook> const hook(new Hook);
    QzLog::SetConfigurationHook(hook.get());

    QzBase::CountedPtr<QzLog::Router> const info(QzLog::CreateRouter("Engine", "Info"));
    QzBase::CountedPtr<QzLog::Router> const trace(QzLog::CreateRouter("Engine", "Trace"));

    QzLog::Log(*info, "Quiet: %1", Divide(*trace, 12, 4));
    hook->mIsVerbose = true;
    QzLog::RefreshConfiguration();
    QzLog::Log(*info, "Verbose: %1", Divide(*trace, 42, 2));
}
