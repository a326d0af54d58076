// The producer on the real client and the real protocol, against a broker on loopback.

#include "os/Calls.h"
#include "support/kafka/MockBroker.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <atomic>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    std::atomic<int> gToldLosses{0};

    bool StatusBecomes(KafkaProducer::EnumKafkaProducerStatus status)
    {
        return ComesTrue([status] { return KafkaProducer::GetKafkaProducerStatus() == status; });
    }

    bool Send(std::string const& text)
    {
        return KafkaProducer::Send(u"diag"_w, 0, nullptr, QzDataType::Variant(text.c_str(), nullptr));
    }

    class KafkaProducerTest : public testing::Test
    {
    protected:
        ~KafkaProducerTest() override { KafkaProducer::Configure({}); }

        MockBroker mBroker;
    };
}

TEST_F(KafkaProducerTest, StatusFollowsTheConnectionAndRecordsArriveInOrder)
{
    mBroker.CreateTopic("diag");
    EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUnusable);
    EXPECT_FALSE(Send("nobody is there"));
    KafkaProducer::Configure({{"bootstrap.servers", mBroker.GetAddress()}});
    EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUnusable) << "not started";

    KafkaProducer::Counters const before = KafkaProducer::GetCounters();
    {
        KafkaClient::Initializer const client;
        KafkaClient::Initializer const copy(client);
        EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
        for (char const* text : {"first", "zw\xC3\xB6lf", ""})
            EXPECT_TRUE(Send(text));

        mBroker.GoDown();
        EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusDown));
        EXPECT_TRUE(Send("waits for the broker"));
        mBroker.ComeUp();
        EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
        EXPECT_TRUE(Send("last"));
    }
    EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUnusable) << "ended";
    KafkaProducer::Counters const after = KafkaProducer::GetCounters();
    EXPECT_EQ(after.mAccepted - before.mAccepted, 5u);
    EXPECT_EQ(after.mDelivered - before.mDelivered, 5u) << "the end of the last initializer delivers";

    std::vector<std::string> const expected{"first", "zw\xC3\xB6lf", "", "waits for the broker", "last"};
    EXPECT_EQ(mBroker.Consume("diag"), expected);
}

TEST_F(KafkaProducerTest, RefusedPropertiesAreNamedAndChangeNothing)
{
    KafkaClient::Initializer const client;
    KafkaProducer::Configure({{"bootstrap.servers", mBroker.GetAddress()}});
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
    for (auto const& [name, value] : std::map<std::string, std::string>{
             {"no.such.property", "1"}, {"compression.codec", "stone"}, {"linger.ms", "-5"}})
    {
        try
        {
            KafkaProducer::Configure({{name, value}});
            ADD_FAILURE() << name << " was taken";
        }
        catch (QzBase::Message& message)
        {
            std::string const text = QzBase::WideCharToUTF8(message.GetMessage(), true).c_str();
            EXPECT_NE(text.find(name), std::string::npos) << text;
        }
        EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUp);
    }
}

TEST_F(KafkaProducerTest, AFullQueueRefusesAndWhatIsGivenUpIsCountedAndTold)
{
    QzOs::Calls const calls = QzOs::gCalls;
    QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const* text)
    {
        if (std::string(QzBase::WideCharToUTF8(text, true).c_str()).find("given up") != std::string::npos)
            ++gToldLosses;
    };
    mBroker.GoDown();
    KafkaProducer::Configure({{"bootstrap.servers", mBroker.GetAddress()}, {"queue.buffering.max.messages", "3"},
        {"message.timeout.ms", "300"}});
    KafkaProducer::Counters const before = KafkaProducer::GetCounters();
    {
        KafkaClient::Initializer const client;
        int taken = 0;
        for (int i = 0; i < 10; ++i)
            taken += Send("lost");
        EXPECT_EQ(taken, 3) << "no broker, and room for three";
        EXPECT_TRUE(ComesTrue([&] { return KafkaProducer::GetCounters().mFailed - before.mFailed == 3; }));
    }
    KafkaProducer::Counters const after = KafkaProducer::GetCounters();
    EXPECT_EQ(after.mAccepted - before.mAccepted, 3u);
    EXPECT_EQ(after.mDelivered, before.mDelivered);
    EXPECT_GE(gToldLosses, 1);
    EXPECT_LE(gToldLosses, 2) << "the first at once, the rest at the end";
    QzOs::gCalls = calls;
}
