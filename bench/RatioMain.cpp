// Runs the benchmarks of one program and prints, after the usual lines, one row per case with the medians of each
// subject: wall time, processor time of the measuring process, and where it is counted the longest time of one
// iteration. In brackets QzLog's times as ratios of the subject's. A benchmark is named
// <case>/<subject>[/<variant>...]; the subjects of one case and variant stand in one row. Times of several threads are
// per message of all threads together, so a smaller wall time is more throughput.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace
{
    constexpr char const* kOwnSubject = "QzLog";

    class RatioReporter : public benchmark::ConsoleReporter
    {
    public:
        void ReportRuns(std::vector<Run> const& runs) override
        {
            ConsoleReporter::ReportRuns(runs);
            for (Run const& run : runs)
            {
                bool const isMedian = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
                if (isMedian && !run.error_occurred)
                    Take(run);
            }
        }

        void PrintTable() const
        {
            std::printf(
                "\nMedians: wall time, processor time (cpu) in ns, longest iteration (max) in us; in brackets "
                "QzLog's times as ratios of that subject's. Wall time of several threads is per message of all of "
                "them: that of one thread is so many times as long\n");
            for (auto const& [row, subjects] : mRows)
            {
                auto const own = subjects.find(kOwnSubject);
                std::printf("%-44s", row.c_str());
                if (own != subjects.end())
                    Print(own->first, own->second, nullptr);
                for (auto const& [subject, times] : subjects)
                    if (subject != kOwnSubject)
                        Print(subject, times, own != subjects.end() ? &own->second : nullptr);
                std::printf("\n");
            }
        }

    private:
        struct Times
        {
            double mWall = 0;      // nanoseconds
            double mProcessor = 0; // nanoseconds
            double mLongest = 0;   // microseconds; 0 if it is not counted
        };

        static void Print(std::string const& subject, Times const& times, Times const* own)
        {
            std::printf(" | %s %.1f cpu %.1f", subject.c_str(), times.mWall, times.mProcessor);
            if (own)
                std::printf(" [%.2f cpu %.2f]", own->mWall / times.mWall, own->mProcessor / times.mProcessor);
            if (times.mLongest != 0)
                std::printf(" max %.0f", times.mLongest);
        }

        void Take(Run const& run)
        {
            std::string name = run.run_name.function_name;
            for (std::string const* part : {&run.run_name.args, &run.run_name.threads})
                if (!part->empty())
                    name += '/' + *part;

            std::size_t const subjectStart = name.find('/') + 1;
            std::size_t const subjectEnd = std::min(name.find('/', subjectStart), name.size());
            std::string const row = name.substr(0, subjectStart - 1) + name.substr(subjectEnd);
            // The run is counted in the unit that the benchmark chose.
            double const toNanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            Times& times = mRows[row][name.substr(subjectStart, subjectEnd - subjectStart)];
            times.mWall = run.GetAdjustedRealTime() * toNanoseconds;
            times.mProcessor = run.GetAdjustedCPUTime() * toNanoseconds;
            if (auto const longest = run.counters.find("longest_us"); longest != run.counters.end())
                times.mLongest = longest->second;
        }

        /// Numbers in the names by their value.
        struct IsBefore
        {
            bool operator()(std::string const& left, std::string const& right) const
            {
                return strverscmp(left.c_str(), right.c_str()) < 0;
            }
        };

        std::map<std::string, std::map<std::string, Times>, IsBefore> mRows;
    };
}

int main(int argc, char** argv)
{
    // Defaults that a noisy machine needs; the command line overrides them.
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=9";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char minimumTime[] = "--benchmark_min_time=0.05";
    char aggregates[] = "--benchmark_report_aggregates_only=true";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, minimumTime, aggregates});
    int count = static_cast<int>(arguments.size());

    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintTable();
    benchmark::Shutdown();
    return 0;
}
