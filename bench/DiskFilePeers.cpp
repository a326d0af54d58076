// The peers of DiskFileBenchmark.cpp. log4cplus with a lock file gives the same guarantee as the library; log4cplus and
// spdlog rotating with a flush per record give a weaker one (one process), and say so in their names. log4cplus logs a
// text that is there already by its macro for that, which needs no stream.

#include "FileSubjects.h"

#include <benchmark/benchmark.h>

#ifdef QZLOG_BENCH_LOG4CPLUS
#include "Log4cplusPeer.h"
#endif
#ifdef QZLOG_BENCH_SPDLOG
#include "SpdlogPeer.h"
#endif

#include <memory>
#include <string>

namespace
{
    using namespace FileSubjects;

    [[maybe_unused]] std::string MakeText(benchmark::State const& state)
    {
        return std::string(static_cast<std::size_t>(state.range(0)), 'x');
    }

    [[maybe_unused]] void Sizes(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgName("bytes")->Arg(100)->Arg(1000)->Arg(64000)->ThreadRange(1, 64)->UseRealTime();
    }

#ifdef QZLOG_BENCH_LOG4CPLUS
    void RecordLog4cplus(benchmark::State& state, log4cplus::Logger const& logger)
    {
        if (state.thread_index() == 0)
            Empty(GetPath(logger.getName().c_str()));
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { LOG4CPLUS_INFO_STR(logger, text); });
    }

    void RecordLog4cplusWithLockFile(benchmark::State& state)
    {
        static log4cplus::Logger const logger = Log4cplusPeer::MakeFile("locked.log", GetPath("locked.log"), true);
        RecordLog4cplus(state, logger);
    }

    void RecordLog4cplusAlone(benchmark::State& state)
    {
        static log4cplus::Logger const logger = Log4cplusPeer::MakeFile("alone.log", GetPath("alone.log"), false);
        RecordLog4cplus(state, logger);
    }

    BENCHMARK(RecordLog4cplusWithLockFile)->Name("Record/log4cplus_lockfile")->Apply(Sizes);
    BENCHMARK(RecordLog4cplusAlone)->Name("Record/log4cplus_weaker_guarantee")->Apply(Sizes);
#endif

#ifdef QZLOG_BENCH_SPDLOG
    void RecordSpdlog(benchmark::State& state)
    {
        static std::shared_ptr<spdlog::logger> const logger = SpdlogPeer::MakeFile(GetPath("spdlog.log"));
        if (state.thread_index() == 0)
            Empty(GetPath("spdlog.log"));
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { logger->info(text); });
    }

    BENCHMARK(RecordSpdlog)->Name("Record/spdlog_weaker_guarantee")->Apply(Sizes);
#endif
}
