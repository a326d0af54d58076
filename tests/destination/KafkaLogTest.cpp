// Where a record of the Kafka destination goes, with a scripted client and a clock that the test sets.

#include "filesystem/TemporaryFolder.h"
#include "os/Restore.h"
#include "support/ForkedChild.h"
#include "support/kafka/Client.h"
#include "support/kafka/TopicLosses.h"

#include <QzBase/Message.h>
#include <QzBase/System.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <optional>
#include <regex>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    std::int64_t gStoppedClock = 0;

    class ScriptedClient final : public KafkaClient::Client
    {
    public:
        KafkaProducer::EnumKafkaProducerStatus GetStatus() override
        {
            ++mAskedForStatus;
            return static_cast<KafkaProducer::EnumKafkaProducerStatus>(mStatus);
        }

        bool Send(QzBase::WideString const& topic, std::string const*, std::string_view value) override
        {
            if (mTakes)
                mSent.emplace_back(QzTest::Narrow(topic.c_str()), value);
            return mTakes;
        }

        void Configure(std::map<std::string, std::string> const&) override {}
        KafkaProducer::Counters GetCounters() override { return {}; }

        void Start() override {}

        void Stop() override
        {
            if (mpLossesOfTheEnd)
                mpLossesOfTheEnd->Add(1, "Local: purged");
        }

        KafkaClient::TopicLosses* mpLossesOfTheEnd = nullptr;
        int mStatus = 1;
        bool mTakes = true;
        std::atomic<int> mAskedForStatus = 0;
        std::vector<std::pair<std::string, std::string>> mSent;
    };

    class KafkaLogTest : public QzTest::TemporaryFolder, public QzTest::Restore
    {
    protected:
        KafkaLogTest()
        {
            gStoppedClock = 1'800'000'000'000;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return gStoppedClock; };
            KafkaClient::ReplaceClient(&mClient);
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
            mModule.emplace();
        }

        ~KafkaLogTest() override
        {
            mModule.reset();
            KafkaClient::ReplaceClient(nullptr);
        }

        QzBase::CountedPtr<QzLog::Destination_KafkaLog> Create(std::string const& file) const
        {
            return QzBase::CountedPtr<QzLog::Destination_KafkaLog>(
                QzLog::GetDestination_KafkaLog(WideIn(file).c_str()));
        }

        /// Writes one record. Returns what the client took for it and how often it is in the file.
        std::string Write(QzLog::Destination& destination)
        {
            QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
            header->SetServerName("Engine");
            std::string const text = "record " + std::to_string(++mWritten) + "\nof \xE2\x82\xAC 2";
            mClient.mSent.clear();
            destination.WriteMessage(text.c_str(), *header);
            std::string const record =
                std::regex_replace(header->GetHeaderText() + (' ' + text), std::regex("\n"), "\r\n") + '\r';
            std::string where;
            for (auto const& [topic, value] : mClient.mSent)
                where += value == record ? "kafka " : "settings " + value + ' ';
            std::string const file = Get("fall.log");
            for (std::size_t at = file.find(record + '\n'); at != file.npos; at = file.find(record + '\n', at + 1))
                where += "file ";
            return where;
        }

        ScriptedClient mClient;
        std::optional<QzLog::Initializer> mModule;
        int mWritten = 0;
    };
}

// The topics are named once in a process, so all that depends on their names stands in one test.
TEST_F(KafkaLogTest, EachRecordGoesToOnePlaceAndSettingsFollowTheBroker)
{
    auto const destination = Create("fall.log");
    ASSERT_TRUE(destination.get());
    EXPECT_EQ(destination.get(), Create("./fall.log").get());
    EXPECT_EQ(
        destination->GetDiskFileDestination().get(), QzLog::GetDestination_DiskFile(WideIn("fall.log").c_str()).get());
    EXPECT_FALSE(QzLog::GetDestination_KafkaLog(nullptr));

    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, false);
    EXPECT_EQ(Write(*destination), "file ");
    EXPECT_EQ(mClient.mAskedForStatus, 0) << "a feature that is off asks nobody";
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);

    EXPECT_EQ(Write(*destination), "file ") << "no topic yet";
    QzLog::SetServerInstanceName(u""_w);
    mClient.mStatus = 3;
    gStoppedClock += 10'001;
    EXPECT_EQ(Write(*destination), "file ") << "an empty name is none";
    ExpectInChild(
        [&]
        {
            bool const isNamed = !QzLog::SetKafkaTopic(u""_w) && QzLog::SetKafkaTopic(u"own"_w);
            QzLog::SetServerInstanceName(u"Engine"_w);
            QzLog::UpdateLogRegistryStr(u"first"_w);
            mClient.mStatus = 1;
            return isNamed && !QzLog::SetKafkaTopic(u"other"_w) && Write(*destination) == "settings first kafka " &&
                   mClient.mSent[0].first == "own.RegtrySettings" && mClient.mSent[1].first == "own";
        });
    EXPECT_EQ(QzLog::GetKafkaTopic().size(), 0u);
    QzLog::SetServerInstanceName(u"Engine"_w);
    QzLog::SetServerInstanceName(u"Other"_w);
    QzLog::UpdateLogRegistryStr(u"first"_w);

    struct
    {
        std::int64_t mAdvanceMilliseconds;
        int mStatus;
        bool mTakes;
        char const* mExpected;
    } const kCases[] = {// The interval began anew before there was a topic. It is over to the millisecond.
        {5'000, 3, true, "file "}, {5'000, 3, true, "file "}, {1, 3, true, "kafka "}, {1, 3, true, "file "},
        // So it does with a probe that is refused. A clock that was set back ends it.
        {10'001, 3, false, "file "}, {10'000, 3, true, "file "}, {-60'000, 3, true, "kafka "},
        {0, 1, true, "settings first kafka "}, {0, 1, true, "kafka "}, {0, 0, true, "file "}, {0, 2, true, "file "},
        // Settings that are refused wait for the next return, as do their like.
        {0, 1, false, "file "}, {0, 1, true, "kafka "}, {60'000, 3, true, "kafka "},
        {0, 1, true, "settings first kafka "}};
    for (auto const& c : kCases)
    {
        SCOPED_TRACE("row " + std::to_string(&c - kCases));
        gStoppedClock += c.mAdvanceMilliseconds;
        mClient.mStatus = c.mStatus;
        mClient.mTakes = c.mTakes;
        EXPECT_EQ(Write(*destination), c.mExpected);
    }
    EXPECT_EQ(Write(*Create("other.log")), "settings first kafka ") << "each object sees its own change";

    std::string const stem = "Kvel.ReportingEngine.Diag." + QzTest::Narrow(QzBase::GetComputerName());
    ASSERT_EQ(mClient.mSent.size(), 2u);
    EXPECT_EQ(mClient.mSent[0].first, stem + ".Other.RegtrySettings");
    EXPECT_EQ(mClient.mSent[1].first, stem + ".Engine");

    mClient.mSent.clear();
    QzLog::UpdateLogRegistryStr(u"gro\u00DF"_w);
    QzLog::UpdateLogRegistryStr(nullptr);
    ASSERT_EQ(mClient.mSent.size(), 2u) << "sent at once";
    EXPECT_EQ(mClient.mSent[0].second, "gro\xC3\x9F");
    mClient.mStatus = 0;
    EXPECT_EQ(Write(*destination), "file ");
    mClient.mStatus = 1;
    EXPECT_EQ(Write(*destination), "kafka ") << "no settings, nothing extra";
}

TEST_F(KafkaLogTest, WhatKafkaTookAndLostIsToldOnceInTheFile)
{
    auto const destination = Create("fall.log");
    QzLog::SetServerInstanceName(u"Engine"_w);
    Write(*destination);
    ASSERT_EQ(mClient.mSent.size(), 1u);
    KafkaClient::TopicLosses& losses = KafkaClient::GetTopicLosses(QzTest::Wide(mClient.mSent[0].first));
    auto const told = [](char const* what)
    {
        std::string const since = QzDataType::DateTime::Now().ToString().c_str();
        return "[Log][Error][UID:0][SID:0][OID:0] Missed " + std::regex_replace(what, std::regex("@"), since) + "\r\n";
    };

    losses.Add(2, "Broker: no right");
    losses.Add(1, "Local: purged");
    std::string const line = told("4 messages since @ due to: Broker: no right");
    std::filesystem::remove("fall.log");
    std::filesystem::create_directory("fall.log");
    destination->WriteMessage("the line waits for its file", *QzLog::CreateMessageHeader());
    std::filesystem::remove("fall.log");
    gStoppedClock += 300'000;
    losses.Add(1, "Local: younger");
    EXPECT_EQ(Write(*destination), "kafka ");
    std::string file = Get("fall.log");
    EXPECT_TRUE(file.ends_with(line) && file.find("[SERVER:Engine]") != file.npos) << file;

    losses.Add(5, "of the parent");
    ExpectInChild([&] { return Write(*destination) == "kafka " && Get("fall.log") == file; });
    losses.Take();
    mClient.mpLossesOfTheEnd = &losses;
    mModule.reset();
    file = Get("fall.log");
    EXPECT_TRUE(file.ends_with(told("1 messages since @ due to: Local: purged"))) << file;
    EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 3) << file;
}

TEST_F(KafkaLogTest, AForkedChildPublishesWhateverItsParentIsDoing)
{
    mClient.mStatus = 3;
    auto const publish = []
    {
        QzLog::UpdateLogRegistryStr(u"settings"_w);
        return true;
    };
    ExpectInChildrenOfBusyParent(30, publish, publish);
    QzLog::UpdateLogRegistryStr(nullptr);
}
