// The roll-over of a log of 2 and of 64 MB and the record after it, beside the bare system calls: copy, truncate,
// write.

#include "FileSubjects.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace
{
    using namespace FileSubjects;

    /// Fills a log, and removes its back-up: to replace one whose pages are not on the disk yet can take longer than
    /// all the rest.
    void Prepare(std::string const& path, std::int64_t size)
    {
        std::filesystem::remove(path + ".bak00");
        std::ofstream(path, std::ios::binary | std::ios::app)
            << std::string(static_cast<std::size_t>(size) - std::filesystem::file_size(path), 'x');
    }

    void RollOverOwn(benchmark::State& state)
    {
        static OwnLog log("roll.log");
        log.mpLog->SetMaxFileSize(static_cast<unsigned int>(state.range(0)));
        OwnWriter writer(*log.mpLog);
        Empty(GetPath("roll.log"));
        for (auto _ : state)
        {
            state.PauseTiming();
            Prepare(GetPath("roll.log"), state.range(0));
            state.ResumeTiming();
            writer.Write("next");
        }
    }

    void RollOverBare(int file, std::string const& target)
    {
        int const copy = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        lseek(file, 0, SEEK_SET);
        static std::vector<char> buffer(262144);
        for (ssize_t count; (count = read(file, buffer.data(), buffer.size())) > 0;)
            benchmark::DoNotOptimize(write(copy, buffer.data(), static_cast<std::size_t>(count)));
        close(copy);
        benchmark::DoNotOptimize(ftruncate(file, 0));
    }

    void RollOverBaseline(benchmark::State& state)
    {
        std::string const path = GetPath("rollbaseline.log");
        BareFile file(path);
        Empty(path);
        for (auto _ : state)
        {
            state.PauseTiming();
            Prepare(path, state.range(0));
            state.ResumeTiming();
            RollOverBare(file.GetDescriptor(), path + ".bak00");
            file.Write("next");
        }
    }

    void Sizes(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgName("bytes")->Arg(2'000'000)->Arg(64'000'000)->UseRealTime();
    }

    BENCHMARK(RollOverOwn)->Name("RollOver/QzLog")->Apply(Sizes);
    BENCHMARK(RollOverBaseline)->Name("RollOver/Baseline")->Apply(Sizes);
}
