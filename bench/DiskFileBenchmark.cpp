// One record into a log file, on up to 64 threads and in up to four processes. Beside each the baseline: the bare
// system calls that the same guarantee takes (is the path a file, lock, seek to the end, write, unlock), with a header
// of the moment. Peers: DiskFilePeers.cpp.

#include "FileSubjects.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
    using namespace FileSubjects;

    std::string MakeText(benchmark::State const& state)
    {
        return std::string(static_cast<std::size_t>(state.range(0)), 'x');
    }

    void RecordOwn(benchmark::State& state)
    {
        static OwnLog log("own.log");
        if (state.thread_index() == 0)
            Empty(GetPath("own.log"));
        OwnWriter writer(*log.mpLog);
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { writer.Write(text); });
    }

    void RecordBaseline(benchmark::State& state)
    {
        // One open file for each thread: that is what whole-file locks order.
        BareFile file(GetPath("baseline.log"));
        if (state.thread_index() == 0)
            Empty(GetPath("baseline.log"));
        std::string const text = MakeText(state);
        MeasureLongest(state, [&] { file.Write(text); });
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

    /// Runs `work`, which does not return, in a process of its own for as long as the measured one is at it.
    template <class Work>
    class Companion
    {
    public:
        explicit Companion(Work const& work) : mID(fork())
        {
            if (mID == 0)
            {
                work();
                std::abort();
            }
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
        auto const workOn = [&]
        {
            for (;;)
                work();
        };
        std::list<Companion<decltype(workOn)>> companions;
        for (std::int64_t i = 1; i < state.range(1); ++i)
            companions.emplace_back(workOn);
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
        std::string const text = MakeText(state);
        // Each process opens the file itself: an inherited one shares its lock with the parent.
        std::optional<BareFile> file;
        pid_t owner = 0;
        MeasureProcesses(state,
            [&]
            {
                if (std::exchange(owner, getpid()) != getpid())
                    file.emplace(path);
                file->Write(text);
            });
    }

    constexpr int kCrowd = 4;

    /// Calls `work` again and again on as many threads as a crowd has.
    template <class Work>
    void WorkAsCrowd(Work const& work)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < kCrowd; ++i)
            threads.emplace_back(work);
        for (std::thread& thread : threads)
            thread.join();
    }

    void RecordOwnBesideCrowd(benchmark::State& state)
    {
        static OwnLog log("own3.log");
        Empty(GetPath("own3.log"));
        std::string const text = MakeText(state);
        auto const crowd = [&]
        {
            WorkAsCrowd(
                [&]
                {
                    for (OwnWriter writer(*log.mpLog);;)
                        writer.Write(text);
                });
        };
        OwnWriter writer(*log.mpLog);
        Companion<decltype(crowd)> const companion(crowd);
        MeasureLongest(state, [&] { writer.Write(text); });
    }

    void RecordBaselineBesideCrowd(benchmark::State& state)
    {
        std::string const path = GetPath("baseline3.log");
        Empty(path);
        std::string const text = MakeText(state);
        auto const crowd = [&]
        {
            WorkAsCrowd(
                [&]
                {
                    for (BareFile file(path);;)
                        file.Write(text);
                });
        };
        Companion<decltype(crowd)> const companion(crowd);
        BareFile file(path);
        MeasureLongest(state, [&] { file.Write(text); });
    }

    void Sizes(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgName("bytes")->Arg(100)->Arg(1000)->Arg(64000)->ThreadRange(1, 64)->UseRealTime();
    }

    void SizesAndProcesses(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgNames({"bytes", "processes"})->ArgsProduct({{100, 1000, 64000}, {1, 2, 4}})->UseRealTime();
    }

    void OneSize(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgName("bytes")->Arg(100)->UseRealTime();
    }

    BENCHMARK(RecordOwn)->Name("Record/QzLog")->Apply(Sizes);
    BENCHMARK(RecordBaseline)->Name("Record/Baseline")->Apply(Sizes);
    BENCHMARK(RecordOwnInProcesses)->Name("RecordInProcesses/QzLog")->Apply(SizesAndProcesses);
    BENCHMARK(RecordBaselineInProcesses)->Name("RecordInProcesses/Baseline")->Apply(SizesAndProcesses);
    BENCHMARK(RecordOwnBesideCrowd)->Name("RecordBesideProcessOfFourThreads/QzLog")->Apply(OneSize);
    BENCHMARK(RecordBaselineBesideCrowd)->Name("RecordBesideProcessOfFourThreads/Baseline")->Apply(OneSize);
}
