// One record into a log file, on up to four threads and in up to four processes, and the roll-over of a file of
// 2,000,000 bytes. Beside each the baseline: the bare system calls that the same guarantee takes (is the path a file,
// lock, seek to the end, write, unlock; for the roll-over copy and truncate). Peers: log4cplus with a lock file
// gives the same guarantee; log4cplus and spdlog rotating with a flush per record give a weaker one (one process),
// and say so in their names.

#include <QzLog/QzLog.h>

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

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
    // Never reached, so that records are measured without roll-overs.
    constexpr unsigned int kNoLimit = 2'000'000'000;
    constexpr int kRollOverSize = 2'000'000;

    /// A private folder that goes with the program.
    class Folder
    {
    public:
        Folder()
        {
            char name[] = "/tmp/qzlog-bench-XXXXXX";
            mName = mkdtemp(name);
        }

        Folder(Folder const&) = delete;
        Folder& operator=(Folder const&) = delete;
        ~Folder() { std::filesystem::remove_all(mName); }

        std::string Path(char const* file) const { return mName + '/' + file; }

    private:
        std::string mName;
    };

    std::string GetPath(char const* file)
    {
        static Folder const folder;
        return folder.Path(file);
    }

    std::string MakeText(benchmark::State const& state)
    {
        return std::string(static_cast<std::size_t>(state.range(0)), 'x');
    }

    /// Keeps the files small enough for the page cache; called outside the measured time.
    void Empty(std::string const& path)
    {
        if (truncate(path.c_str(), 0) != 0)
            std::ofstream(path).flush();
    }

    class BareFile
    {
    public:
        explicit BareFile(std::string path)
            : mPath(std::move(path)), mDescriptor(open(mPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
        {
        }

        BareFile(BareFile const&) = delete;
        BareFile& operator=(BareFile const&) = delete;
        ~BareFile() { close(mDescriptor); }

        void Write(std::string const& record)
        {
            struct stat status;
            benchmark::DoNotOptimize(stat(mPath.c_str(), &status));
            flock(mDescriptor, LOCK_EX);
            benchmark::DoNotOptimize(lseek(mDescriptor, 0, SEEK_END));
            benchmark::DoNotOptimize(write(mDescriptor, record.data(), record.size()));
            flock(mDescriptor, LOCK_UN);
        }

        void RollOver(std::string const& target)
        {
            int const copy = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
            lseek(mDescriptor, 0, SEEK_SET);
            static std::vector<char> buffer(262144);
            while (ssize_t const count = read(mDescriptor, buffer.data(), buffer.size()))
                benchmark::DoNotOptimize(write(copy, buffer.data(), static_cast<std::size_t>(count)));
            close(copy);
            benchmark::DoNotOptimize(ftruncate(mDescriptor, 0));
        }

    private:
        std::string mPath;
        int mDescriptor;
    };

    /// The module with one disk-file destination on `file`.
    struct OwnLog
    {
        explicit OwnLog(char const* file)
            : mpLog(QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(GetPath(file).c_str(), false).c_str()))
        {
            mpLog->SetMaxFileSize(kNoLimit);
        }

        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Destination_DiskFile> mpLog;
    };

    /// Writes a record through the destination, with a header that has its text already: what is measured is the
    /// way into the file.
    class OwnWriter
    {
    public:
        explicit OwnWriter(QzLog::Destination& log) : mLog(log) {}

        void Write(std::string const& text) { mLog.WriteMessage(text.c_str(), *mpHeader); }
        std::size_t GetHeaderLength() { return std::string(mpHeader->GetHeaderText()).size() + 3; }

    private:
        QzLog::Destination& mLog;
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
    };

    std::size_t MeasureHeader()
    {
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        return std::string(header->GetHeaderText()).size() + 3;
    }

    void RecordOwn(benchmark::State& state)
    {
        static OwnLog log("own.log");
        if (state.thread_index() == 0)
            Empty(GetPath("own.log"));
        OwnWriter writer(*log.mpLog);
        std::string const text = MakeText(state);
        for (auto _ : state)
            writer.Write(text);
    }

    void RecordBaseline(benchmark::State& state)
    {
        // One open file for each thread: that is what whole-file locks order.
        BareFile file(GetPath("baseline.log"));
        if (state.thread_index() == 0)
            Empty(GetPath("baseline.log"));
        std::string const record = MakeText(state) + std::string(MeasureHeader(), 'h');
        for (auto _ : state)
            file.Write(record);
    }

    /// How many records all processes of a measurement have written, in memory that they share.
    class SharedCount
    {
    public:
        SharedCount() : mpCount(new (Map()) std::atomic<std::int64_t>(0)) {}
        SharedCount(SharedCount const&) = delete;
        SharedCount& operator=(SharedCount const&) = delete;
        ~SharedCount() { munmap(mpCount, sizeof(*mpCount)); }

        std::atomic<std::int64_t>& operator*() const { return *mpCount; }

    private:
        static void* Map()
        {
            void* const memory = mmap(
                nullptr, sizeof(std::atomic<std::int64_t>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
            if (memory == MAP_FAILED)
                std::abort();
            return memory;
        }

        std::atomic<std::int64_t>* mpCount;
    };

    /// Runs `work` in a process of its own for as long as the measured one is at it.
    template <class Work>
    class Companion
    {
    public:
        explicit Companion(Work const& work) : mID(fork())
        {
            if (mID == 0)
                for (;;)
                    work();
        }

        Companion(Companion const&) = delete;
        Companion& operator=(Companion const&) = delete;

        ~Companion()
        {
            kill(mID, SIGKILL);
            waitpid(mID, nullptr, 0);
        }

    private:
        pid_t mID;
    };

    /// Measures until any process has written one record more: the time of the measured one's own records would tell as
    /// well how they share the lock.
    template <class Work>
    void MeasureProcesses(benchmark::State& state, Work const& write)
    {
        SharedCount const count;
        auto const work = [&]
        {
            write();
            (*count).fetch_add(1, std::memory_order_relaxed);
        };
        std::list<Companion<decltype(work)>> companions;
        for (std::int64_t i = 1; i < state.range(1); ++i)
            companions.emplace_back(work);
        std::int64_t due = *count;
        for (auto _ : state)
            for (++due; *count < due;)
                work();
    }

    void RecordOwnInProcesses(benchmark::State& state)
    {
        static OwnLog log("own2.log");
        Empty(GetPath("own2.log"));
        OwnWriter writer(*log.mpLog);
        std::string const text = MakeText(state);
        MeasureProcesses(state, [&] { writer.Write(text); });
    }

    void RecordBaselineInProcesses(benchmark::State& state)
    {
        std::string const path = GetPath("baseline2.log");
        Empty(path);
        std::string const record = MakeText(state) + std::string(MeasureHeader(), 'h');
        // Each process opens the file itself: an inherited one shares its lock with the parent.
        std::optional<BareFile> file;
        pid_t owner = 0;
        MeasureProcesses(state,
            [&]
            {
                if (std::exchange(owner, getpid()) != getpid())
                    file.emplace(path);
                file->Write(record);
            });
    }

    void FillTo(std::string const& path, int size)
    {
        std::ofstream(path, std::ios::binary | std::ios::app) << std::string(
            static_cast<std::size_t>(size) - static_cast<std::size_t>(std::filesystem::file_size(path)), 'x');
    }

    void RollOverOwn(benchmark::State& state)
    {
        static OwnLog log("roll.log");
        log.mpLog->SetMaxFileSize(kRollOverSize);
        OwnWriter writer(*log.mpLog);
        writer.Write("first");
        for (auto _ : state)
        {
            state.PauseTiming();
            FillTo(GetPath("roll.log"), kRollOverSize);
            state.ResumeTiming();
            writer.Write("next");
        }
    }

    void RollOverBaseline(benchmark::State& state)
    {
        std::string const path = GetPath("rollbaseline.log");
        BareFile file(path);
        for (auto _ : state)
        {
            state.PauseTiming();
            FillTo(path, kRollOverSize);
            state.ResumeTiming();
            file.RollOver(GetPath("rollbaseline.log.bak00"));
            file.Write("next");
        }
    }

    void Sizes(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->Arg(100)->Arg(1000)->Arg(64000)->ThreadRange(1, 4)->UseRealTime();
    }

    void SizesAndProcesses(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgsProduct({{100, 1000, 64000}, {1, 2, 4}})->UseRealTime();
    }

    BENCHMARK(RecordOwn)->Name("Record/QzLog")->Apply(Sizes);
    BENCHMARK(RecordBaseline)->Name("Record/Baseline")->Apply(Sizes);
    BENCHMARK(RecordOwnInProcesses)->Name("RecordInProcesses/QzLog")->Apply(SizesAndProcesses);
    BENCHMARK(RecordBaselineInProcesses)->Name("RecordInProcesses/Baseline")->Apply(SizesAndProcesses);
    BENCHMARK(RollOverOwn)->Name("RollOver/QzLog")->UseRealTime();
    BENCHMARK(RollOverBaseline)->Name("RollOver/Baseline")->UseRealTime();

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
        for (auto _ : state)
            LOG4CPLUS_INFO(logger, text);
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
        for (auto _ : state)
            logger->info(text);
    }

    BENCHMARK(RecordSpdlog)->Name("Record/spdlog_weaker_guarantee")->Apply(Sizes);
#endif
}
