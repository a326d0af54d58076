// The memory that a thread takes which logs, and that a logger takes, beside peers. Each is measured in a process of
// its own, which this program starts, so that no memory that another has freed is used again. Arguments are ignored.

#include "CallPath.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef QZLOG_BENCH_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif
#ifdef QZLOG_BENCH_LOG4CPLUS
#include <log4cplus/fileappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/log4cplus.h>
#endif

namespace
{
    constexpr int kThreads = 200;
    constexpr int kMessages = 100;
    constexpr int kLoggers = 1'000;

    long GetResidentBytes()
    {
        std::unique_ptr<FILE, int (*)(FILE*)> const file(std::fopen("/proc/self/statm", "r"), std::fclose);
        long size = 0;
        long resident = 0;
        if (!file || std::fscanf(file.get(), "%ld %ld", &size, &resident) != 2)
            std::abort();
        return resident * sysconf(_SC_PAGESIZE);
    }

    /// Resident bytes for each of many threads that have logged, their stacks included, while all of them exist.
    template <class Log>
    long MeasureThreads(Log const& log)
    {
        log();
        std::latch logged(kThreads);
        std::latch leave(1);
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        long const before = GetResidentBytes();
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back(
                [&]
                {
                    for (int message = 0; message < kMessages; ++message)
                        log();
                    logged.count_down();
                    leave.wait();
                });
        }
        logged.wait();
        long const bytes = (GetResidentBytes() - before) / kThreads;
        leave.count_down();
        return bytes;
    }

    /// Allocated bytes for each logger that `make` returns.
    template <class Make>
    long MeasureLoggers(Make const& make)
    {
        std::vector<decltype(make(std::string()))> loggers;
        loggers.reserve(kLoggers);
        auto const before = mallinfo2().uordblks;
        for (int i = 0; i < kLoggers; ++i)
            loggers.push_back(make("Logger" + std::to_string(i)));
        return static_cast<long>(mallinfo2().uordblks - before) / kLoggers;
    }

    long NoThreadLog()
    {
        return MeasureThreads([] {});
    }

    long QzLogThread()
    {
        QzLog::Initializer const module;
        auto const router = CallPath::MakeDroppingRouter("Kernel", "Info");
        return MeasureThreads([&] { QzLog::LogString(*router, CallPath::kText, nullptr, __FILE__, "Log", __LINE__); });
    }

    long QzLogThreadWithValues()
    {
        QzLog::Initializer const module;
        auto const router = CallPath::MakeDroppingRouter("Kernel", "Info");
        return MeasureThreads(
            [&] { QzLog::Log(*router, "Report %1 of user %2 finished after %3 ms", 4711, "alice", 128); });
    }

    long QzLogLogger()
    {
        QzLog::Initializer const module;
        return MeasureLoggers([](std::string const& name)
            { return QzBase::CountedPtr<QzLog::Router>(QzLog::CreateRouter(name.c_str(), "Info")); });
    }

#ifdef QZLOG_BENCH_SPDLOG
    long SpdlogThread()
    {
        auto const logger = spdlog::basic_logger_mt("Kernel", "/dev/null");
        return MeasureThreads([&] { logger->info("Report {} of user {} finished after {} ms", 4711, "alice", 128); });
    }

    long SpdlogLogger()
    {
        auto const sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>("/dev/null");
        return MeasureLoggers(
            [&](std::string const& name)
            {
                auto logger = std::make_shared<spdlog::logger>(name, sink);
                spdlog::register_logger(logger);
                return logger;
            });
    }
#endif

#ifdef QZLOG_BENCH_LOG4CPLUS
    long Log4cplusThread()
    {
        log4cplus::Initializer const module;
        log4cplus::SharedAppenderPtr const appender(new log4cplus::FileAppender(LOG4CPLUS_TEXT("/dev/null")));
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>(LOG4CPLUS_TEXT("%D %p %c %t %m%n")));
        log4cplus::Logger logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Kernel"));
        logger.addAppender(appender);
        return MeasureThreads(
            [&] { LOG4CPLUS_INFO(logger, "Report " << 4711 << " of user alice finished after " << 128 << " ms"); });
    }

    long Log4cplusLogger()
    {
        log4cplus::Initializer const module;
        return MeasureLoggers([](std::string const& name) { return log4cplus::Logger::getInstance(name); });
    }
#endif

    struct Measurement
    {
        char const* mpName;
        long (*mpMeasure)();
    };

    constexpr Measurement kMeasurements[] = {
        {"Thread/without logging", NoThreadLog},
        {"Thread/QzLog", QzLogThread},
        {"Thread/QzLog, with values", QzLogThreadWithValues},
#ifdef QZLOG_BENCH_SPDLOG
        {"Thread/spdlog, with values", SpdlogThread},
#endif
#ifdef QZLOG_BENCH_LOG4CPLUS
        {"Thread/log4cplus, with values", Log4cplusThread},
#endif
        {"Logger/QzLog, with a router", QzLogLogger},
#ifdef QZLOG_BENCH_SPDLOG
        {"Logger/spdlog", SpdlogLogger},
#endif
#ifdef QZLOG_BENCH_LOG4CPLUS
        {"Logger/log4cplus", Log4cplusLogger},
#endif
    };
}

int main(int argc, char** argv)
{
    for (Measurement const& measurement : kMeasurements)
    {
        if (argc == 2 && std::strcmp(argv[1], measurement.mpName) == 0)
        {
            std::printf("%-32s %8ld\n", measurement.mpName, measurement.mpMeasure());
            return 0;
        }
    }
    std::puts("Bytes for each thread (resident) and logger (allocated)");
    std::fflush(stdout);
    for (Measurement const& measurement : kMeasurements)
    {
        // Not only a fork: the peers' libraries have started threads when they were loaded.
        std::array<char const*, 3> const arguments{argv[0], measurement.mpName, nullptr};
        pid_t child = 0;
        int status = 0;
        if (posix_spawn(
                &child, "/proc/self/exe", nullptr, nullptr, const_cast<char* const*>(arguments.data()), environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0)
            return 1;
    }
    return 0;
}
