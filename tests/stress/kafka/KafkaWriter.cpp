#include "KafkaWriter.h"

#include "Record.h"
#include "os/Calls.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <optional>
#include <random>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    constexpr unsigned short const* kServer = u"Stress"_w;
    constexpr unsigned int kLeastRecords = 50;
    constexpr unsigned int kLongestLife = 300;
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

    void WriteRecords(QzLog::Router& router, WriterSettings const& settings, RecordNumber number, Ledger& ledger)
    {
        Ledger::Thread& own = ledger.mProcesses[number.mProcess].mThreads[number.mThread];
        std::mt19937_64 random(settings.mSeed + number.mProcess * Ledger::kMaxThreads + number.mThread);
        for (number.mSequence = 1; number.mSequence <= kLeastRecords || !ledger.mStops; ++number.mSequence)
        {
            std::string const body = MakeBody(number, settings.mSeed);
            own.mBegun = number.mSequence;
            QzLog::LogString(router, body.c_str(), nullptr, nullptr, nullptr, 0);
            own.mReturned = number.mSequence;
            ledger.mBytes += body.size();
            usleep(static_cast<useconds_t>(random() % 8000));
        }
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
    // One that hangs is a fault.
    alarm(kLongestLife);
    HurryClocks();
    std::optional<QzLog::Initializer> module(std::in_place);
    KafkaProducer::Configure(properties);
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
    QzLog::SetServerInstanceName(kServer);
    QzLog::SetBasePath(QzBase::UTF8ToWideChar(settings.mFolder.c_str(), false).c_str());
    QzBase::CountedPtr<QzLog::Destination_KafkaLog> kafka(QzLog::GetDestination_KafkaLog(u"stress.log"_w));
    QzBase::CountedPtr<QzLog::Destination_DiskFile> file(kafka->GetDiskFileDestination());
    file->SetRecovery(QzLog::kRecoveryStrict);
    file->SetMaxFileSize(1'000'000'000);
    QzBase::CountedPtr<QzLog::Router> router(QzLog::CreateRouter("Stress", "Info"));
    router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({kafka.get()}));

    for (int i = 0; i < kMostConnectionPolls; ++i)
    {
        if (KafkaProducer::GetKafkaProducerStatus() == KafkaProducer::kStatusUp)
            break;
        usleep(kConnectionPolls);
    }
    {
        std::vector<std::jthread> threads;
        for (unsigned int thread = 0; thread < settings.mThreads; ++thread)
            threads.emplace_back([&, thread] { WriteRecords(*router, settings, {process, thread, 0}, ledger); });
    }
    router.reset();
    kafka.reset();
    file.reset();
    module.reset();
    KafkaProducer::Counters const counters = KafkaProducer::GetCounters();
    Ledger::Process& own = ledger.mProcesses[process];
    own.mAccepted = counters.mAccepted;
    own.mDelivered = counters.mDelivered;
    own.mFailed = counters.mFailed;
    return 0;
}
