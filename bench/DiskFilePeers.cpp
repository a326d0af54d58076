// The peers of DiskFileBenchmark.cpp. log4cplus with a lock file gives the same guarantee as the library; log4cplus and
// spdlog rotating with a flush per record give a weaker one (one process), and say so in their names. log4cplus logs a
// text that is there already by its macro for that, which needs no stream.

#include "FileSubjects.h"

#include <benchmark/benchmark.h>

#ifdef QZLOG_BENCH_LOG4CPLUS
#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#endif
#ifdef QZLOG_BENCH_SPDLOG
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
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
    log4cplus::Logger MakeLog4cplus(char const* name, bool withLockFile)
    {
        log4cplus::helpers::Properties properties;
        properties.setProperty("File", GetPath(name));
        properties.setProperty("MaxFileSize", "2000000000");
        properties.setProperty("MaxBackupIndex", "1");
        properties.setProperty("ImmediateFlush", "true");
        properties.setProperty("UseLockFile", withLockFile ? "true" : "false");
        log4cplus::SharedAppenderPtr const appender(new log4cplus::RollingFileAppender(properties));
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>(
            "%D{%Y-%m-%d %H:%M:%S.%q} [HOST:ws01][SERVER:Engine][PID:%i][THR:%t][%c][Info][UID:0][SID:0][OID:0] %m%n"));
        log4cplus::Logger logger = log4cplus::Logger::getInstance(name);
        logger.addAppender(appender);
        logger.setAdditivity(false);
        return logger;
    }

    void RecordLog4cplus(benchmark::State& state, log4cplus::Logger const& logger)
    {
        if (state.thread_index() == 0)
            Empty(GetPath(logger.getName().c_str()));
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { LOG4CPLUS_INFO_STR(logger, text); });
    }

    void RecordLog4cplusWithLockFile(benchmark::State& state)
    {
        static log4cplus::Logger const logger = MakeLog4cplus("locked.log", true);
        RecordLog4cplus(state, logger);
    }

    void RecordLog4cplusAlone(benchmark::State& state)
    {
        static log4cplus::Logger const logger = MakeLog4cplus("alone.log", false);
        RecordLog4cplus(state, logger);
    }

    BENCHMARK(RecordLog4cplusWithLockFile)->Name("Record/log4cplus_lockfile")->Apply(Sizes);
    BENCHMARK(RecordLog4cplusAlone)->Name("Record/log4cplus_weaker_guarantee")->Apply(Sizes);
#endif

#ifdef QZLOG_BENCH_SPDLOG
    void RecordSpdlog(benchmark::State& state)
    {
        static std::shared_ptr<spdlog::logger> const logger = []
        {
            auto const made = spdlog::rotating_logger_mt("file", GetPath("spdlog.log"), kNoLimit, 1);
            made->set_pattern(
                "%Y-%m-%d %H:%M:%S.%e [HOST:ws01][SERVER:Engine][PID:%P][THR:%t][%n][Info][UID:0][SID:0][OID:0] %v");
            made->flush_on(spdlog::level::info);
            return made;
        }();
        if (state.thread_index() == 0)
            Empty(GetPath("spdlog.log"));
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { logger->info(text); });
    }

    BENCHMARK(RecordSpdlog)->Name("Record/spdlog_weaker_guarantee")->Apply(Sizes);
#endif
}
