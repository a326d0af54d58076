#include "KafkaWriter.h"

#include "os/Calls.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Dispatcher.h>

#include <optional>

#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    constexpr unsigned short const* kServer = u"Stress"_w;
    constexpr useconds_t kConnectionPolls = 10'000;
    constexpr int kMostConnectionPolls = 200;

    // The intervals of ten seconds after which Kafka is tried again are over in a tenth of one.
    constexpr std::int64_t kHaste = 100;

    void HurryClocks()
    {
        static QzOs::Calls const gReal = QzOs::gCalls;
        static std::int64_t const gStart = gReal.mpGetUTCMilliseconds();
        QzOs::gCalls.mpGetMonotonicNanoseconds = [] { return kHaste * gReal.mpGetMonotonicNanoseconds(); };
        QzOs::gCalls.mpGetUTCMilliseconds = [] { return gStart + kHaste * (gReal.mpGetUTCMilliseconds() - gStart); };
        QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const*) {};
    }
}

/// Stands before the system's for the whole program.
extern "C" int getaddrinfo(char const* node, char const* service, addrinfo const* hints, addrinfo** result)
{
    if (node && std::string(node) == kSilentHost)
    {
        sleep(1);
        return EAI_AGAIN;
    }
    static auto const next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(node, service, hints, result);
}

std::string GetTopic()
{
    std::string topic = "Kvel.ReportingEngine.Diag.";
    topic += QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), false).c_str();
    return topic + '.' + QzBase::WideCharToUTF8(kServer, false).c_str();
}

int RunKafkaWriter(WriterSettings const& settings, unsigned int process, Properties const& properties, Ledger& ledger)
{
    HurryClocks();
    std::optional<QzLog::Initializer> module(std::in_place);
    KafkaProducer::Configure(properties);
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
    QzLog::SetServerInstanceName(kServer);
    Writer writer(settings, process, ledger);
    writer.GetLog().SetMaxFileSize(1'000'000'000);
    QzBase::CountedPtr<QzLog::Destination_KafkaLog> kafka(QzLog::GetDestination_KafkaLog(u"stress.log"_w));
    writer.GetRouter().GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({kafka.get()}));
    kafka.reset();
    for (int i = 0; i < kMostConnectionPolls; ++i)
    {
        if (KafkaProducer::GetKafkaProducerStatus() == KafkaProducer::kStatusUp)
            break;
        usleep(kConnectionPolls);
    }
    writer.LogInThreads(kAll);
    writer.Close();
    module.reset();
    KafkaProducer::Counters const counters = KafkaProducer::GetCounters();
    Ledger::Process& own = ledger.mProcesses[process];
    own.mAccepted = counters.mAccepted;
    own.mDelivered = counters.mDelivered;
    own.mFailed = counters.mFailed;
    return 0;
}
