// The whole log path to Kafka: router, destination, real client, real protocol, and a consumer that knows nothing of
// them.

#include "filesystem/TemporaryFolder.h"
#include "os/Calls.h"
#include "support/kafka/MockBroker.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <gmock/gmock.h>

#include <atomic>
#include <optional>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    constexpr std::int64_t kProbeIntervalMilliseconds = 10'001;
    constexpr unsigned short const* kSettings = u"size=\"gro\u00DF\""_w;

    std::atomic<std::int64_t> gMillisecondsAhead{0};

    bool StatusBecomes(KafkaProducer::EnumKafkaProducerStatus status)
    {
        return ComesTrue([status] { return KafkaProducer::GetKafkaProducerStatus() == status; });
    }

    bool MoreAreAccepted(std::uint64_t count)
    {
        std::uint64_t const before = KafkaProducer::GetCounters().mAccepted;
        return ComesTrue([=] { return KafkaProducer::GetCounters().mAccepted >= before + count; });
    }

    std::string MakeTopic(char const* suffix)
    {
        std::string const computer = QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), false).c_str();
        return "Kvel.ReportingEngine.Diag." + computer + ".Engine" + suffix;
    }

    class KafkaStreamTest : public QzTest::TemporaryFolder
    {
    protected:
        KafkaStreamTest()
        {
            static QzOs::Calls const calls = mCalls;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return calls.mpGetUTCMilliseconds() + gMillisecondsAhead; };
            mBroker.CreateTopic(mTopic);
            mBroker.CreateTopic(mSettingsTopic);
        }

        ~KafkaStreamTest() override
        {
            End();
            KafkaProducer::Configure({});
            QzOs::gCalls = mCalls;
        }

        void Start()
        {
            KafkaProducer::Configure(
                {{"bootstrap.servers", mBroker.GetAddress()}, {"reconnect.backoff.max.ms", "100"}});
            mModule.emplace();
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
            QzLog::SetServerInstanceName(u"Engine"_w);
            QzLog::UpdateLogRegistryStr(kSettings);
            mpKafka = QzLog::GetDestination_KafkaLog(WideIn("fall.log"));
            mpKafka->GetDiskFileDestination()->SetMaxFileSize(1'000'000'000);
            mpRouter = QzLog::CreateRouter("Kernel", "Info");
            mpRouter->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({mpKafka.get()}));
        }

        void End()
        {
            mpRouter.reset();
            mpKafka.reset();
            mModule.reset();
        }

        void Log(std::string const& text)
        {
            QzLog::LogString(*mpRouter, text.c_str(), nullptr, __FILE__, __func__, __LINE__);
        }

        std::string ReadFile() const { return Get("fall.log"); }

        bool FileGrows() const
        {
            auto const before = std::filesystem::file_size("fall.log");
            return ComesTrue([&] { return std::filesystem::file_size("fall.log") > before + 10'000; });
        }

        QzOs::Calls const mCalls = QzOs::gCalls;
        std::string const mTopic = MakeTopic("");
        std::string const mSettingsTopic = MakeTopic(".RegtrySettings");
        MockBroker mBroker;
        std::optional<QzLog::Initializer> mModule;
        QzBase::CountedPtr<QzLog::Destination_KafkaLog> mpKafka;
        QzBase::CountedPtr<QzLog::Router> mpRouter;
    };

    /// Threads that log "record <thread>-<number>." until they are gone.
    class Load
    {
    public:
        template <class Log>
        explicit Load(Log log)
        {
            for (int thread = 0; thread < 3; ++thread)
                mThreads.emplace_back(
                    [this, thread, log](std::stop_token stop)
                    {
                        for (int number = 0; !stop.stop_requested(); ++number, ++mCount)
                        {
                            log("record " + std::to_string(thread) + '-' + std::to_string(number) + '.');
                            std::this_thread::sleep_for(std::chrono::milliseconds(1));
                        }
                    });
        }

        int Stop()
        {
            mThreads.clear();
            return mCount;
        }

    private:
        std::atomic<int> mCount{0};
        std::vector<std::jthread> mThreads;
    };

    /// How often each of the numbered records stands in a text.
    std::map<std::string, int> CountRecords(std::string const& text)
    {
        std::map<std::string, int> counts;
        std::string const mark = "record ";
        for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
        {
            at += mark.size();
            ++counts[text.substr(at, text.find('.', at) - at)];
        }
        return counts;
    }
}

TEST_F(KafkaStreamTest, ThroughOutagesEachRecordIsConsumedOrInTheFileOrCountedAsLost)
{
    KafkaProducer::Counters const before = KafkaProducer::GetCounters();
    mBroker.GoDown();
    Start();
    Load load([this](std::string const& text) { Log(text); });
    EXPECT_TRUE(FileGrows());
    EXPECT_EQ(KafkaProducer::GetCounters().mAccepted, before.mAccepted) << "no broker yet";
    mBroker.ComeUp();
    for (int outage = 0; outage < 2; ++outage)
    {
        EXPECT_TRUE(MoreAreAccepted(300));
        mBroker.GoDown();
        EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusDown));
        EXPECT_TRUE(FileGrows());
        // A probe: the client keeps the record until the broker is back.
        gMillisecondsAhead += kProbeIntervalMilliseconds;
        EXPECT_TRUE(MoreAreAccepted(1));
        EXPECT_TRUE(FileGrows());
        mBroker.ComeUp();
    }
    EXPECT_TRUE(MoreAreAccepted(300));
    int const written = load.Stop();
    EXPECT_TRUE(
        ComesTrue([] { return KafkaProducer::GetCounters().mDelivered == KafkaProducer::GetCounters().mAccepted; }));
    EXPECT_EQ(KafkaProducer::GetCounters().mFailed, before.mFailed);

    // The last probe has no broker to the end: the one record that is lost, and the loss is counted, and told in the
    // file.
    mBroker.GoDown();
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusDown));
    gMillisecondsAhead += kProbeIntervalMilliseconds;
    Log("record 9-0.");
    End();
    EXPECT_EQ(KafkaProducer::GetCounters().mFailed, before.mFailed + 1);
    EXPECT_THAT(ReadFile(), testing::EndsWith(" due to: Local: Purged in queue\r\n"));
    EXPECT_THAT(ReadFile(), testing::HasSubstr("[SERVER:Engine]"));

    // A record whose acknowledgement an outage swallowed is sent again, so the stream may have it twice; the file not.
    mBroker.ComeUp();
    std::string stream;
    for (std::string const& record : mBroker.Consume(mTopic))
        stream += record;
    std::map<std::string, int> const consumed = CountRecords(stream);
    std::map<std::string, int> const filed = CountRecords(ReadFile());
    for (auto const& [record, count] : filed)
    {
        EXPECT_EQ(count, 1) << record;
        EXPECT_FALSE(consumed.contains(record)) << record << " is in both";
    }
    EXPECT_EQ(static_cast<int>(consumed.size() + filed.size()), written);
    EXPECT_FALSE(consumed.contains("9-0") || filed.contains("9-0"));
    std::vector<std::string> const settings = mBroker.Consume(mSettingsTopic);
    EXPECT_GE(settings.size(), 3u) << "at the first connection and after each outage";
    EXPECT_THAT(settings, testing::Each("size=\"gro\xC3\x9F\""));
}

TEST_F(KafkaStreamTest, WhatArrivesIsWhatTheFileWouldHoldInTheSameOrder)
{
    Start();
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
    QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
    header->SetTimestampToNow();
    char const* const bodies[] = {"first", "two\r\nlines", "", "zw\xC3\xB6lf \xF0\x9F\x93\x88", "last"};
    for (bool const isOn : {true, false})
    {
        QzBase::SetFeatureEnabled(u"KS/SLMS"_w, isOn);
        for (char const* const body : bodies)
            mpKafka->WriteMessage(body, *header);
    }
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
    QzLog::UpdateLogRegistryStr(u"changed"_w);
    std::string const filedBefore = ReadFile();
    mpKafka->WriteMessage(std::string(2'000'000, 'x').c_str(), *header);
    EXPECT_GT(ReadFile().size(), filedBefore.size() + 2'000'000) << "too long for a broker, not for the file";
    End();

    std::vector<std::string> const records = mBroker.Consume(mTopic);
    EXPECT_EQ(records.size(), std::size(bodies));
    EXPECT_THAT(records, testing::Each(testing::EndsWith("\r")));
    std::string stream;
    for (std::string const& record : records)
        stream += record + '\n';
    EXPECT_THAT(filedBefore, testing::EndsWith(stream));
    EXPECT_THAT(mBroker.Consume(mSettingsTopic), testing::ElementsAre("size=\"gro\xC3\x9F\"", "changed"));
}
