// Where a record of the Kafka destination goes, with a scripted client and a clock that the test sets.

#include "destination/Destination_KafkaLog_Impl.h"
#include "os/Calls.h"
#include "support/kafka/Client.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/QzLog.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    std::int64_t gNow = 0;

    class ScriptedClient final : public KafkaClient::Client
    {
    public:
        KafkaProducer::EnumKafkaProducerStatus GetStatus() override
        {
            ++mAskedForStatus;
            return static_cast<KafkaProducer::EnumKafkaProducerStatus>(mStatus);
        }

        bool Send(QzBase::WideString const& topic, std::string const*, std::string const& value) override
        {
            if (mTakes)
                mSent.emplace_back(QzBase::WideCharToUTF8(topic.c_str(), true).c_str(), value);
            return mTakes;
        }

        void Configure(std::map<std::string, std::string> const&) override {}
        KafkaProducer::Counters GetCounters() override { return {}; }
        void Start() override {}
        void Stop() override {}

        int mStatus = 1;
        bool mTakes = true;
        int mAskedForStatus = 0;
        std::vector<std::pair<std::string, std::string>> mSent;
    };

    std::size_t Count(std::string const& text, std::string const& part)
    {
        std::size_t count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
            ++count;
        return count;
    }

    class KafkaLogTest : public testing::Test
    {
    protected:
        KafkaLogTest()
        {
            gNow = 1'800'000'000'000;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return gNow; };
            KafkaClient::ReplaceClient(&mClient);
            QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
            char folder[] = "/tmp/qzlog-kafka-XXXXXX";
            mFolder = mkdtemp(folder);
            mModule.emplace();
        }

        ~KafkaLogTest() override
        {
            mModule.reset();
            KafkaClient::ReplaceClient(nullptr);
            QzOs::gCalls = mCalls;
            std::filesystem::remove_all(mFolder);
        }

        QzBase::CountedPtr<QzLog::Destination_KafkaLog> Create()
        {
            QzBase::ReturnWString const path = QzBase::UTF8ToWideChar(GetPath().c_str(), false);
            return QzBase::CountedPtr<QzLog::Destination_KafkaLog>(QzLog::GetDestination_KafkaLog(path.c_str()));
        }

        std::string GetPath() const { return mFolder + "/fall.log"; }

        std::string ReadFile() const
        {
            std::ifstream file(GetPath(), std::ios::binary);
            std::ostringstream content;
            content << file.rdbuf();
            return content.str();
        }

        /// Writes one record; tells where it went: "kafka", "file", or both one behind the other.
        std::string Write(QzLog::Destination& destination)
        {
            std::string const text = "record " + std::to_string(++mWritten) + ".";
            std::size_t const sentBefore = mClient.mSent.size();
            destination.WriteMessage(text.c_str(), *mpHeader);
            std::string where;
            for (std::size_t i = sentBefore; i < mClient.mSent.size(); ++i)
                if (Count(mClient.mSent[i].second, text))
                    where += "kafka";
            for (std::size_t i = 0; i < Count(ReadFile(), text); ++i)
                where += "file";
            return where;
        }

        QzOs::Calls const mCalls = QzOs::gCalls;
        ScriptedClient mClient;
        std::string mFolder;
        std::optional<QzLog::Initializer> mModule;
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
        int mWritten = 0;
    };
}

// The topics are named once in a process, so all that depends on their names stands in one test.
TEST_F(KafkaLogTest, EachRecordGoesToOnePlaceAndSettingsFollowTheBroker)
{
    QzBase::CountedPtr<QzLog::Destination_KafkaLog> const destination = Create();
    ASSERT_TRUE(destination.get());
    EXPECT_EQ(destination.get(), Create().get());
    EXPECT_FALSE(QzLog::GetDestination_KafkaLog(nullptr));

    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, false);
    EXPECT_EQ(Write(*destination), "file");
    EXPECT_EQ(mClient.mAskedForStatus, 0) << "a feature that is off asks nobody";
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);

    EXPECT_EQ(Write(*destination), "file") << "no topic yet";
    QzLog::SetServerInstanceName(u""_w);
    EXPECT_EQ(Write(*destination), "file") << "an empty name is none";
    QzLog::SetServerInstanceName(u"Engine"_w);
    QzLog::SetServerInstanceName(u"Other"_w);

    struct
    {
        std::int64_t mAdvanceMilliseconds;
        int mStatus;
        bool mTakes;
        char const* mExpected;
    } const kCases[] = {
        {0, 1, true, "kafka"},
        {0, 1, false, "file"},
        {0, 0, true, "file"},
        {0, 2, true, "file"},
        // Ten seconds since the object was made are not over yet, then they are, to the millisecond.
        {5'000, 3, true, "file"},
        {5'000, 3, true, "file"},
        {1, 3, true, "kafka"},
        {1, 3, true, "file"},
        // A probe that is refused starts the interval anew, and status 1 does not look at it.
        {10'001, 3, false, "file"},
        {10'000, 3, true, "file"},
        {0, 1, true, "kafka"},
        {60'000, 3, true, "kafka"},
    };
    int row = 0;
    for (auto const& testCase : kCases)
    {
        SCOPED_TRACE("row " + std::to_string(row++));
        gNow += testCase.mAdvanceMilliseconds;
        mClient.mStatus = testCase.mStatus;
        mClient.mTakes = testCase.mTakes;
        EXPECT_EQ(Write(*destination), testCase.mExpected);
    }

    std::string const computer = QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), true).c_str();
    EXPECT_EQ(mClient.mSent.front().first, "Kvel.ReportingEngine.Diag." + computer + ".Engine");
    std::string const& record = mClient.mSent.front().second;
    EXPECT_EQ(record.substr(record.size() - 2), ".\r") << "the final LF alone is cut";

    auto const countSettings = [this](char const* text)
    {
        std::size_t count = 0;
        for (auto const& [topic, value] : mClient.mSent)
            count += topic.ends_with(".Other.RegtrySettings") && value == text;
        return count;
    };

    EXPECT_EQ(countSettings(""), 0u) << "no settings, nothing extra";

    mClient.mStatus = 3;
    QzLog::UpdateLogRegistryStr(u"first"_w);
    EXPECT_EQ(countSettings("first"), 0u);
    Write(*destination);
    mClient.mStatus = 1;
    Write(*destination);
    Write(*destination);
    EXPECT_EQ(countSettings("first"), 1u) << "once per return";

    QzLog::UpdateLogRegistryStr(u"second"_w);
    EXPECT_EQ(countSettings("second"), 1u);
    QzLog::UpdateLogRegistryStr(nullptr);
}
