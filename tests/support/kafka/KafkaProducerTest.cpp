// The producer on the real client and the real protocol, against a broker on loopback.

#include "os/Restore.h"
#include "support/ForkedChild.h"
#include "support/kafka/MockBroker.h"
#include "support/kafka/Producer.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <optional>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netdb.h>
#include <pthread.h>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

namespace
{
    using Properties = std::map<std::string, std::string>;

    // Ahead of every real clock, and never set back.
    std::atomic<std::int64_t> gClock{1'000'000'000'000'000'000};
    std::atomic<int> gReports{0};
    std::atomic<unsigned long> gReportedLosses{0};
    std::atomic<bool> gReportsWait{false};

    void TakeDebugOutput(unsigned short const* wideText)
    {
        std::string const text = QzBase::WideCharToUTF8(wideText, true).c_str();
        if (text.find("given up") == std::string::npos)
            return;
        ComesTrue([] { return !gReportsWait; });
        gReportedLosses += std::stoul(text.substr(text.find(' ')));
        ++gReports;
    }

    bool StatusBecomes(KafkaProducer::EnumKafkaProducerStatus status)
    {
        return ComesTrue([status] { return KafkaProducer::GetKafkaProducerStatus() == status; });
    }

    bool Send(std::string const& text, unsigned short const* topic = u"diag"_w)
    {
        return KafkaProducer::Send(topic, 0, nullptr, QzDataType::Variant(text.c_str(), nullptr));
    }

    // The resolver leaves this name without an answer for as long as a test wants.
    constexpr char const* kHeldHost = "held.invalid";
    std::atomic<bool> gResolverAnswers{true};
    std::atomic<int> gQuestions{0};
    std::atomic<bool> gTestWaited{false};

    // Why the properties were refused; empty when they were taken.
    std::string GetRefusal(Properties const& properties)
    try
    {
        KafkaProducer::Configure(properties);
        return "";
    }
    catch (QzBase::Message& message)
    {
        return QzBase::WideCharToUTF8(message.GetMessage(), true).c_str();
    }

    /// A client that takes records and reports nothing, as one whose threads hang.
    struct SilentClient final : KafkaClient::KafkaModule, KafkaClient::Producer::StatusObserver
    {
        struct Connection final : KafkaClient::Connection
        {
            void* CreateTopic(char const*) override { return this; }
            void ReleaseTopic(void*) override {}
            bool Send(void*, std::string const*, std::string_view, void*) override { return true; }
            bool Flush(int) override { return false; }
            void Purge() override {}
        };

        std::string Check(Properties const&) const override { return ""; }
        std::unique_ptr<KafkaClient::Connection> Connect(
            Properties const&, KafkaClient::ConnectionOwner&, std::string&) const override
        {
            return std::make_unique<Connection>();
        }
        void StatusHasChanged(KafkaClient::Producer const&) noexcept override {}
    };

    struct KafkaProducerTest : testing::Test, QzTest::Restore
    {
        KafkaProducerTest()
        {
            QzOs::gCalls.mpGetMonotonicNanoseconds = [] { return gClock.load(); };
            QzOs::gCalls.mpWriteDebugOutput = TakeDebugOutput;
            gClock += 1'000'000'000'000;
        }

        ~KafkaProducerTest() override { KafkaProducer::Configure({}); }

        /// What has been counted since the test began.
        std::uint64_t GetAccepted() const { return KafkaProducer::GetCounters().mAccepted - mBefore.mAccepted; }
        std::uint64_t GetDelivered() const { return KafkaProducer::GetCounters().mDelivered - mBefore.mDelivered; }
        std::uint64_t GetFailed() const { return KafkaProducer::GetCounters().mFailed - mBefore.mFailed; }

        MockBroker mBroker;
        // Records are counted whatever reports the user asks for.
        Properties const mProperties{{"bootstrap.servers", mBroker.GetAddress()},
            {"delivery.report.only.error", "false"}, {"batch.num.messages", "1"}};
        KafkaProducer::Counters const mBefore = KafkaProducer::GetCounters();
    };
}

/// Stands before the system's for the whole executable.
extern "C" int getaddrinfo(char const* node, char const* service, addrinfo const* hints, addrinfo** result)
{
    if (node && std::string(node) == kHeldHost)
    {
        ++gQuestions;
        if (!ComesTrue([] { return gResolverAnswers.load(); }))
            gTestWaited = true;
        return EAI_AGAIN;
    }
    static auto const next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(node, service, hints, result);
}

// As descriptor 2 it would get what the program and the debug output write there. What the broker has accepted, which
// is in this process too, may stand there: it has the broker's port on its own side.
TEST_F(KafkaProducerTest, NoConnectionBecomesAStandardStream)
{
    auto const isConnected = [this](int descriptor)
    {
        sockaddr_in peer = {};
        socklen_t size = sizeof(peer);
        void* const place = &peer;
        return getpeername(descriptor, static_cast<sockaddr*>(place), &size) == 0 &&
               mBroker.GetAddress().ends_with(':' + std::to_string(ntohs(peer.sin_port)));
    };
    mBroker.GoDown();
    KafkaProducer::Configure(mProperties);
    KafkaClient::Initializer const client;
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusDown));
    int const kept[] = {fcntl(0, F_DUPFD_CLOEXEC, 3), fcntl(1, F_DUPFD_CLOEXEC, 3), fcntl(2, F_DUPFD_CLOEXEC, 3)};
    close(0), close(1), close(2);
    mBroker.ComeUp();
    bool const isUp = StatusBecomes(KafkaProducer::kStatusUp);
    bool const isStandard = isConnected(0) || isConnected(1) || isConnected(2);
    for (int descriptor : {0, 1, 2})
        dup2(kept[descriptor], descriptor), close(kept[descriptor]);
    EXPECT_TRUE(isUp);
    EXPECT_FALSE(isStandard);
}

TEST_F(KafkaProducerTest, RefusedPropertiesAreNamedAndChangeNothing)
{
    // What only a producer as a whole can refuse waits for one.
    Properties const needsFile{{"security.protocol", "ssl"}, {"ssl.ca.location", "/missing"}};
    EXPECT_EQ(GetRefusal(needsFile), "");
    EXPECT_THROW(KafkaClient::Initializer(), QzBase::Message);
    EXPECT_FALSE(Send("nobody is there"));
    KafkaProducer::Configure(mProperties);
    EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUnusable) << "not started";
    for (auto const& [name, value] :
        Properties{{"no.such.property", "1"}, {"compression.codec", "stone"}, {"linger.ms", "-5"}})
    {
        std::string const refusal = GetRefusal({{name, value}});
        EXPECT_NE(refusal.find(name), std::string::npos) << name << ": " << refusal;
    }
    KafkaClient::Initializer const client;
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
    EXPECT_NE(GetRefusal(needsFile), "");
    EXPECT_EQ(KafkaProducer::GetKafkaProducerStatus(), KafkaProducer::kStatusUp);
}

TEST_F(KafkaProducerTest, AFullQueueRefusesAndLossesAreToldOnceInTenSeconds)
{
    gReports = 0;
    gReportedLosses = 0;

    Properties properties = mProperties;
    properties.insert({{"queue.buffering.max.messages", "3"}, {"message.timeout.ms", "1000"}});
    KafkaProducer::Configure(properties);
    std::optional<KafkaClient::Initializer> client(std::in_place);
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
    EXPECT_FALSE(Send(std::string(2'000'000, 'x'))) << "too long";
    mBroker.GoDown();
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusDown));
    int taken = 0;
    while (taken < 4 && Send("lost"))
        ++taken;
    EXPECT_EQ(taken, 3) << "no broker, and room for three";
    EXPECT_TRUE(ComesTrue([&] { return GetFailed() == 3; }));
    EXPECT_TRUE(Send("lost too", u"other"_w));
    EXPECT_TRUE(ComesTrue([&] { return GetFailed() == 4; }));
    EXPECT_EQ(gReports, 1);
    gClock += 10'000'000'000;
    EXPECT_TRUE(ComesTrue([] { return gReports == 2; })) << "no other loss has to come for it";
    client.reset();
    EXPECT_TRUE(GetAccepted() == 4 && GetDelivered() == 0 && GetFailed() == 4);
    EXPECT_TRUE(gReports == 2 && gReportedLosses == 4);
}

TEST_F(KafkaProducerTest, ARefusedTopicIsTriedOnceInTenSecondsUntilARecordIsDelivered)
{
    KafkaClient::TopicLosses& losses = KafkaClient::GetTopicLosses(u"diag"_w);
    losses.Take();
    std::optional<KafkaClient::Initializer> client(std::in_place);
    KafkaProducer::Configure(mProperties);
    for (std::uint64_t refused = 1; refused <= 2; ++refused)
    {
        gReportsWait = refused == 2;
        mBroker.RefuseNext();
        EXPECT_TRUE(Send("taken, and refused by the broker"));
        EXPECT_TRUE(ComesTrue([&] { return GetFailed() == refused; }));
        gClock += 9'999'999'999;
        EXPECT_FALSE(Send("the broker does not take this topic"));
        EXPECT_TRUE(Send("but it takes others", u"other"_w));
        EXPECT_TRUE(ComesTrue([&] { return GetDelivered() == refused; }));
        gClock += 1;
    }
    mBroker.RefuseNext();
    EXPECT_TRUE(Send("refused, and reported after the next one is delivered"));
    gClock += 10'000'000'000;
    EXPECT_TRUE(Send("the try"));
    EXPECT_TRUE(ComesTrue([&] { return GetDelivered() == 3; }));
    gReportsWait = false;
    EXPECT_TRUE(ComesTrue([&] { return GetFailed() == 3; }));
    EXPECT_TRUE(Send("and all that follow"));
    ExpectInChild([] { return KafkaProducer::GetCounters().mAccepted + KafkaProducer::GetCounters().mFailed == 0; });

    KafkaClient::Losses const taken = losses.Take();
    EXPECT_EQ(taken.mCount, 3u);
    EXPECT_EQ(taken.mReason, "Broker: Message size too large");
    EXPECT_EQ(losses.Take().mCount, 0u);
    EXPECT_TRUE(Send("delivered by the end"));
    client.reset();
    EXPECT_EQ(GetDelivered(), 5u);
}

TEST_F(KafkaProducerTest, AResolverThatDoesNotAnswerHoldsUpTheEndAlone)
{
    KafkaClient::TopicLosses& losses = KafkaClient::GetTopicLosses(u"diag"_w);
    losses.Take();
    gResolverAnswers = false;
    KafkaProducer::Configure({{"bootstrap.servers", kHeldHost}});
    EXPECT_EQ(gQuestions, 0) << "nobody needs a producer yet";
    std::optional<KafkaClient::Initializer> client(std::in_place);
    EXPECT_TRUE(ComesTrue([] { return gQuestions > 0; }));
    EXPECT_TRUE(Send("given up"));
    std::jthread const end([&] { client.reset(); });
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUnusable));

    KafkaProducer::Configure(mProperties);
    KafkaClient::Initializer const next;
    EXPECT_TRUE(StatusBecomes(KafkaProducer::kStatusUp));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // A fork does not wait either. If librdkafka may be destroying a producer, Configure throws in the child.
    auto const configure = [&] { return GetRefusal(mProperties).find("forked while") == std::string::npos; };
    EXPECT_TRUE(ComesTrue([&] { return RunInChild(configure) == 0; }));
#endif
    gResolverAnswers = true;
    EXPECT_TRUE(ComesTrue([&] { return GetFailed() == 1; }));
    EXPECT_EQ(losses.Take().mReason, "Local: Purged in queue");
    EXPECT_FALSE(gTestWaited);
}

TEST_F(KafkaProducerTest, WhatNobodyReportsIsLostWithItsProducerAndToldAtOnce)
{
    KafkaClient::TopicLosses& losses = KafkaClient::GetTopicLosses(u"silent"_w);
    SilentClient silent;
    gReports = 0;
    for (std::uint64_t lost = 1; lost <= 2; ++lost)
    {
        std::optional<KafkaClient::Producer> producer(std::in_place, silent, Properties(), silent);
        producer->Send(*producer->MakeTopic(u"silent"_w, losses), nullptr, "record");
        producer.reset();
        EXPECT_EQ(losses.Take().mCount, 1u);
        EXPECT_EQ(GetFailed(), lost);
    }
    EXPECT_EQ(gReports, 2);
}

TEST_F(KafkaProducerTest, ACancelledThreadLeavesTheClientFirst)
{
    KafkaClient::Initializer const client;
    KafkaProducer::Configure(mProperties);
    // Once a partition has its broker, a record may wake that broker's thread through a pipe.
    EXPECT_TRUE(Send("first"));
    EXPECT_TRUE(ComesTrue([&] { return GetDelivered() == 1; }));
    auto const send = [](void*) -> void*
    {
        pthread_cancel(pthread_self());
        for (int i = 0; i < 100; ++i)
            Send("record");
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); // the request has been there all the time
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, send, nullptr), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(GetAccepted(), 101u);
}

TEST_F(KafkaProducerTest, AForkedChildMayConfigureWhateverItsParentIsDoing)
{
    KafkaClient::Initializer const client;
    ExpectInChildrenOfBusyParent(
        10,
        [this]
        {
            KafkaProducer::Configure(mProperties);
            KafkaProducer::Configure({});
        },
        []
        {
            return KafkaProducer::GetKafkaProducerStatus() == KafkaProducer::kStatusUnusable && !Send("record") &&
                   GetRefusal({{"no.such.property", "1"}}) != "";
        });
}
