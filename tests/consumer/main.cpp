// Uses the installed library as a stranger would: every public header, a hook, a log line on the debug
// output, and an exception that is caught by its type across the library's border.

#include <QzLog/QzLog.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#ifdef PACKAGE_VERSION
static_assert(QzLog::kVersion == std::string_view(PACKAGE_VERSION));
#endif
static_assert(QZLOG_VERSION >= 10000);

namespace
{
    class Hook : public QzSynch::Counted<QzLog::ConfigurationHook>
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

    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Consumer", "Info"));
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
