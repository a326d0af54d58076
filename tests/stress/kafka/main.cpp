// Processes log to a Kafka broker, in a process of its own, that fails in every way meanwhile. Then each record must
// have been consumed, or be in the log file, or be one of those that the file reports as lost. Ends with 0 when no
// fault was found.

#include "Broker.h"
#include "Checker.h"
#include "KafkaFaults.h"
#include "KafkaWriter.h"
#include "Run.h"
#include "Shared.h"
#include "Table.h"

#include <CLI/CLI.hpp>

#include <atomic>

namespace
{
    // The mock cluster keeps 5 MB of a topic.
    constexpr unsigned int kMostBytes = 2'500'000;

    Properties GetProperties(KafkaFault const& fault, Broker const& broker, unsigned int process)
    {
        Properties properties = fault.mProperties;
        properties["bootstrap.servers"] = broker.GetAddress();
        if (fault.mHoldsResolver)
            properties["bootstrap.servers"] =
                process % 2 == 0 ? kSilentHost + (',' + broker.GetAddress()) : std::string(kSilentHost);
        properties.insert({{"statistics.interval.ms", "50"}, {"reconnect.backoff.ms", "10"},
            {"reconnect.backoff.max.ms", "50"}, {"message.timeout.ms", "300"}, {"socket.timeout.ms", "200"},
            {"topic.metadata.refresh.interval.ms", "100"}, {"linger.ms", "1"}});
        return properties;
    }

    /// Returns how many records were consumed.
    std::uint64_t DoRow(RunOptions const& options, WriterSettings settings, KafkaFault const& fault, Row& row)
    {
        settings.mLimit = kMostBytes / kMostLimits;
        Ledger* const ledger = CreateShared<Ledger>();
        Broker broker(GetTopic());
        Run run(options, settings, *ledger,
            [&](unsigned int process)
            { return RunKafkaWriter(settings, process, GetProperties(fault, broker, process), *ledger); });
        std::mt19937_64 random(settings.mSeed);
        run.Go(
            [&]
            {
                fault.mpDo(broker, random);
                if (fault.mKillsWriters)
                {
                    usleep(static_cast<useconds_t>(random() % 400'000));
                    run.Kill();
                }
                ++row.mOutcome.mTries;
            });
        std::vector<std::string> const stream = broker.Consume();
        CheckCampaign(
            settings, *ledger, run.MakePlace(settings.mFolder), {"", nullptr, 0, nullptr}, row.mOutcome, &stream);
        row.mOutcome.mIsGood = row.mOutcome.mIsGood && !run.HasFailed();
        return stream.size();
    }
}

int main(int argc, char** argv)
{
    RunOptions options{2, 1000, false};
    unsigned int minutes = 0;
    WriterSettings settings{"", 0, 2, std::random_device()()};
    settings.mIsStrict = true;
    settings.mLongestPause = 8000;
    settings.mLeastRecords = 50;

    CLI::App app("Logs to a Kafka broker that fails in every way, and looks where each record is.");
    app.add_option("--processes", options.mProcesses, "processes at a time")->check(CLI::Range(1, 64));
    app.add_option("--threads", settings.mThreads, "threads of each")->check(CLI::Range(1u, Ledger::kMaxThreads));
    app.add_option("--milliseconds", options.mMilliseconds, "for each way to fail");
    app.add_option("--seed", settings.mSeed, "of the random numbers");
    app.add_option("--minutes", minutes, "how long to repeat it");
    CLI11_PARSE(app, argc, argv);

    std::vector<Row*> rows;
    for (KafkaFault const& fault : gKafkaFaults)
        *rows.emplace_back(CreateShared<Row>()) = {fault.mpName, "kafka", {}, nullptr};
    auto& consumed = *CreateShared<std::atomic<std::uint64_t>>();
    bool const isGood = RunTable(rows, minutes, settings.mSeed,
        [&](std::size_t i, std::filesystem::path const& top)
        {
            settings.mFolder = top;
            consumed += DoRow(options, settings, gKafkaFaults[i], *rows[i]);
        });
    std::printf("%llu records were consumed\n", static_cast<unsigned long long>(consumed.load()));
    return isGood && consumed != 0 ? 0 : 1;
}
