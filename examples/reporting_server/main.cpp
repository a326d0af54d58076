// A small reporting server that shows how a server logs with QzLog. It reads requests, works them off on several
// threads and logs every step; a configuration file says what goes where, and SIGHUP makes it read that file again.

#include "Server.h"

#include <KafkaClient/KafkaProducer.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <exception>

namespace
{
    void ReportKafkaCounters()
    {
        KafkaClient::KafkaProducer::Counters const counters = KafkaClient::KafkaProducer::GetCounters();
        if (counters.mAccepted > 0)
            std::printf("Kafka took %ju records, acknowledged %ju and lost %ju\n",
                static_cast<std::uintmax_t>(counters.mAccepted), static_cast<std::uintmax_t>(counters.mDelivered),
                static_cast<std::uintmax_t>(counters.mFailed));
    }

    int Serve(ReportingServer::Options const& options)
    {
        {
            ReportingServer::Server server(options);
            server.Run();
            std::printf("%u requests, %u of them failed, and %u lines that held none\n", server.GetRequestCount(),
                server.GetFailedCount(), server.GetRejectedCount());
        }
        // Behind the end of the library's module, which waits for records that are on their way.
        ReportKafkaCounters();
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
}

int main(int argc, char** argv)
{
    ReportingServer::Options options;
    CLI::App app("A small reporting server that logs with QzLog");
    app.add_option("-c,--config", options.mSettingsFile, "what goes where, JSON; read again on SIGHUP")->required();
    app.add_option("-w,--workers", options.mWorkerCount, "number of threads")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    app.add_option("-p,--period", options.mPeriodSize, "requests in a period of the traces")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    app.add_option("-t,--traces", options.mTraceFolder, "folder of the traces")->capture_default_str();
    app.add_option("requests", options.mRequestFile, "file of request lines, - for the standard input")
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    try
    {
        ReportingServer::Input::BlockSignals();
        return Serve(options);
    }
    catch (QzBase::Message const& fault)
    {
        std::fprintf(stderr, "%s\n", QzBase::FormatMessage(fault, 0).c_str());
    }
    catch (std::exception const& fault)
    {
        std::fprintf(stderr, "%s\n", fault.what());
    }
    return 1;
}
