// Uses the installed library as a stranger would: every public header, a hook, a log line on the debug
// output, and an exception that is caught by its type across the library's border.

#include <QzLog/QzLog.h>

#include <cstdio>
#include <cstring>

namespace
{
    class Hook : public QzLog::ConfigurationHook, public QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>
    {
    public:
        void ConfigureLogger(QzLog::Logger*) override {}

        void ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger*) override
        {
            QzBase::CountedPtr<QzLog::Destination> const output(QzLog::GetDestination_DebugOutput());
            dispatcher->SetDestinations(QzLog::CreateDestinationCollection({output.get()}));
        }
    };
}

int main()
{
    QzLog::Initializer const module;
    QzBase::CountedPtr<QzLog::ConfigurationHook> const hook(new Hook);
    QzLog::SetConfigurationHook(hook.get());

    QzBase::CountedPtr<QzLog::Router> const router(
        QzLog::CreateRouter("Consumer", "Info", QzSynch::kLockStackCategoryDefault));
    QzLog::Log(*router, "Hello from the %1, %2 calls", "installed package", 2);

    try
    {
        QzLog::LogStringAndThrowBaseException(*router, "thrown and caught", nullptr);
    }
    catch (QzBase::Message& message)
    {
        QzBase::ReturnString const text = QzBase::WideCharToUTF8(message.GetMessage(), true);
        return std::strcmp(text.c_str(), "thrown and caught") == 0 ? 0 : 1;
    }
    return 1;
}
