// Runs the benchmarks of one program and prints, after the usual lines, one row per case with the median
// of each subject and its ratio to QzLog's rivals. A benchmark is named <case>/<subject>[/<variant>...];
// the subjects of one case and variant stand in one row. Times of several threads are wall-clock time per
// message of all threads together, so a smaller figure is more throughput.

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
            std::printf("\nMedians in nanoseconds; in brackets QzLog's time as a ratio of that subject's\n");
            for (auto const& [row, subjects] : mRows)
            {
                auto const own = subjects.find(kOwnSubject);
                std::printf("%-44s", row.c_str());
                if (own != subjects.end())
                    std::printf(" %s %.1f", kOwnSubject, own->second);
                for (auto const& [subject, time] : subjects)
                {
                    if (subject == kOwnSubject)
                        continue;
                    std::printf(" | %s %.1f", subject.c_str(), time);
                    if (own != subjects.end())
                        std::printf(" [%.2f]", own->second / time);
                }
                std::printf("\n");
            }
        }

    private:
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
            double const nanoseconds =
                run.GetAdjustedRealTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            mRows[row][name.substr(subjectStart, subjectEnd - subjectStart)] = nanoseconds;
        }

        std::map<std::string, std::map<std::string, double>> mRows;
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
