// Uses the installed library as a stranger would: every public header, a hook, a log line on the debug
// output, an exception that is caught by its type across the library's border, and a Kafka producer, which alone needs
// librdkafka.

#include <QzLog/QzLog.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
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

    std::string GetText(QzBase::Message& message)
    {
        return QzBase::WideCharToUTF8(message.GetMessage(), true).c_str();
    }

    bool HasLoadedRdKafka()
    {
        std::ifstream maps("/proc/self/maps");
        return std::string(std::istreambuf_iterator<char>(maps), {}).find("/librdkafka.so") != std::string::npos;
    }

    void ConfigureKafka()
    try
    {
        KafkaClient::KafkaProducer::Configure({{"no.such.property", "1"}});
    }
    catch (QzBase::Message& message)
    {
        std::fprintf(stderr, "%s\n", GetText(message).c_str());
    }
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
        if (GetText(message) != "thrown and caught" || HasLoadedRdKafka())
            return 1;
    }
    ConfigureKafka();
    std::fprintf(stderr, "librdkafka is %sloaded\n", HasLoadedRdKafka() ? "" : "not ");
    return 0;
}
