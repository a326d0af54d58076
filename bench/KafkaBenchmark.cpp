// One record to Kafka, beside librdkafka's own call with the same bytes, without and with the formatting of the record.
// The broker is librdkafka's mock cluster in this process, on loopback; each case stops short of a full local queue and
// lets it drain outside the measured time. The baseline has the same properties, and asks for no delivery reports: it
// is what a program pays that does not care what becomes of its records. QzLog counts them all.

#include "support/kafka/MockBroker.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

using namespace QzBase::Literals;

namespace
{
    constexpr int kRecords = 20'000;
    constexpr int kDrainMilliseconds = 30'000;
    constexpr char const* kText = "Report 4711 of user alice finished after 128 ms";

    [[noreturn]] void Fail(char const* reason)
    {
        std::fprintf(stderr, "%s\n", reason);
        std::exit(1);
    }

    std::map<std::string, std::string> MakeProperties(MockBroker const& broker)
    {
        return {{"bootstrap.servers", broker.GetAddress()}, {"queue.buffering.max.messages", "1000000"},
            {"queue.buffering.max.kbytes", "1000000"}};
    }

    void WaitUntilDelivered()
    {
        ComesTrue(
            []
            {
                KafkaClient::KafkaProducer::Counters const counters = KafkaClient::KafkaProducer::GetCounters();
                return counters.mDelivered + counters.mFailed == counters.mAccepted;
            });
    }

    /// The module, connected to a broker, and the Kafka destination with a file behind it.
    struct Setup
    {
        Setup()
        {
            char folder[] = "/tmp/qzlog-bench-XXXXXX";
            if (!mkdtemp(folder))
                Fail("no temporary folder");
            mFolder = folder;
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
            KafkaClient::KafkaProducer::Configure(MakeProperties(mBroker));
            QzLog::SetServerInstanceName(u"Engine"_w);
            QzBase::ReturnWString const path = QzBase::UTF8ToWideChar((mFolder + "/fall.log").c_str(), false);
            mpDestination = QzLog::GetDestination_KafkaLog(path.c_str());
            if (!ComesTrue(
                    [] {
                        return KafkaClient::KafkaProducer::GetKafkaProducerStatus() ==
                               KafkaClient::KafkaProducer::kStatusUp;
                    }))
                Fail("the broker did not come up");
        }

        Setup(Setup const&) = delete;
        Setup& operator=(Setup const&) = delete;
        ~Setup() { std::filesystem::remove_all(mFolder); }

        MockBroker mBroker;
        std::string mFolder;
        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Destination_KafkaLog> mpDestination;
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
    };

    Setup& GetSetup()
    {
        static Setup setup;
        return setup;
    }

    /// The bytes that the destination sends for kText.
    std::string MakeRecord(QzLog::MessageHeader& header)
    {
        return std::string(header.GetHeaderText()) + ' ' + kText + '\r';
    }

    void Record(benchmark::State& state)
    {
        Setup& setup = GetSetup();
        std::uint64_t const acceptedBefore = KafkaClient::KafkaProducer::GetCounters().mAccepted;
        for (auto _ : state)
        {
            setup.mpHeader->SetTimestampToNow();
            setup.mpDestination->WriteMessage(kText, *setup.mpHeader);
        }
        if (KafkaClient::KafkaProducer::GetCounters().mAccepted - acceptedBefore <
            static_cast<std::uint64_t>(state.iterations()))
            state.SkipWithError("records went to the file");
        WaitUntilDelivered();
    }

    /// A producer of librdkafka's own, with a topic.
    class Baseline
    {
    public:
        Baseline()
        {
            rd_kafka_conf_t* const conf = rd_kafka_conf_new();
            for (auto const& [name, value] : MakeProperties(GetSetup().mBroker))
                rd_kafka_conf_set(conf, name.c_str(), value.c_str(), nullptr, 0);
            mpProducer = rd_kafka_new(RD_KAFKA_PRODUCER, conf, nullptr, 0);
            mpTopic = rd_kafka_topic_new(mpProducer, "baseline", nullptr);
            // The first record of a producer fetches the topic.
            Produce("first");
            rd_kafka_flush(mpProducer, kDrainMilliseconds);
        }

        Baseline(Baseline const&) = delete;
        Baseline& operator=(Baseline const&) = delete;

        ~Baseline()
        {
            rd_kafka_flush(mpProducer, kDrainMilliseconds);
            rd_kafka_topic_destroy(mpTopic);
            rd_kafka_destroy(mpProducer);
        }

        bool Produce(std::string const& record)
        {
            return rd_kafka_produce(mpTopic, RD_KAFKA_PARTITION_UA, RD_KAFKA_MSG_F_COPY,
                       const_cast<char*>(record.data()), record.size(), nullptr, 0, nullptr) == 0;
        }

    private:
        rd_kafka_t* mpProducer;
        rd_kafka_topic_t* mpTopic;
    };

    void FormatAndProduce(benchmark::State& state)
    {
        Baseline baseline;
        QzLog::MessageHeader& header = *GetSetup().mpHeader;
        for (auto _ : state)
        {
            header.SetTimestampToNow();
            if (!baseline.Produce(MakeRecord(header)))
                state.SkipWithError("the local queue is full");
        }
    }

    void Produce(benchmark::State& state)
    {
        Baseline baseline;
        std::string const record = MakeRecord(*GetSetup().mpHeader);
        for (auto _ : state)
            if (!baseline.Produce(record))
                state.SkipWithError("the local queue is full");
    }

    BENCHMARK(Record)->Name("KafkaRecord/QzLog")->Iterations(kRecords);
    BENCHMARK(FormatAndProduce)->Name("KafkaRecord/FormatAndProduce")->Iterations(kRecords);
    BENCHMARK(Produce)->Name("KafkaRecord/rd_kafka_produce")->Iterations(kRecords);
}
