#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_Impl.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Log.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLogKit/CallLimit.h>
#include <QzLogKit/Destination_Capture.h>
#include <QzLogKit/Destination_Language.h>
#include <QzLogKit/Destination_RateLimit.h>
#include <QzLogKit/Destination_Selection.h>
#include <QzLogKit/Matchers.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include "filesystem/TemporaryFolder.h"
#include "support/ForkedChild.h"

#include <array>
#include <cstdio>
#include <stdexcept>
#include <thread>

using namespace QzLogKit;
using namespace testing;
using QzBase::CountedPtr;

namespace
{
    constexpr std::chrono::hours kLong{24};

    struct Fixture : Test
    {
        /// Writes a message of that second of a day, under the header as it is.
        void Write(QzLog::Destination& destination, char const* text, int second = 0)
        {
            char time[40];
            std::snprintf(time, sizeof(time), "2026-11-18 03:%02d:%02d.000-05:00", second / 60, second % 60);
            QzLog::Timestamp_Impl stamp;
            stamp.FromISO8601String(time);
            mpHeader->SetTimestamp(stamp);
            destination.WriteMessage(text, *mpHeader);
        }

        std::string TakeTexts()
        {
            std::string texts;
            for (CapturedMessage const& message : mpCapture->Take())
                texts += message.mText + "|";
            return texts;
        }

        CountedPtr<Destination_RateLimit> Limit(unsigned int messages, int seconds, RateLimitPer per)
        {
            return CreateDestination_RateLimit(*mpCapture, {messages, std::chrono::seconds(seconds)}, per);
        }

        CountedPtr<Destination_Capture> const mpCapture{CreateDestination_Capture()};
        CountedPtr<QzLog::MessageHeader> const mpHeader{QzLog::CreateMessageHeader()};
    };

    using RateLimitTest = Fixture;
    using SelectionTest = Fixture;
    using LanguageTest = Fixture;
    using RateLimitFileTest = QzTest::TemporaryFolder;

    void SetDestination(QzLog::Router& router, QzLog::Destination& destination)
    {
        router.GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({&destination}));
    }

    class Failing final : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        explicit Failing(QzLog::Destination& target) : mpTarget(&target) {}

        void WriteMessage(char const* text, QzLog::MessageHeader& header) override
        {
            if (mFails)
                throw std::runtime_error("no");
            mpTarget->WriteMessage(text, header);
        }

        void WriteMessage(QzLog::MessageHeader&, QzLog::MessageBody&) override {}

        bool mFails = false;
        CountedPtr<QzLog::Destination> mpTarget;
    };
}

TEST_F(RateLimitTest, SaysWhatItHeldBackBeforeTheFirstMessageAfterThePeriod)
{
    auto limit = Limit(2, 60, RateLimitPer::kMessageID);
    mpHeader->SetHostName("ws01");
    mpHeader->SetLoggerName("Kernel");
    mpHeader->SetDispatcherName("Error");
    mpHeader->SetUserID("alice");
    mpHeader->SetMessageID(0x80000304);
    for (int second : {0, 1, 2, 3, 59})
        Write(*limit, "A", second);
    EXPECT_EQ(TakeTexts(), "A|A|");
    // One of another count ends it.
    mpHeader->SetMessageID(7);
    mpHeader->SetLoggerName("Other");
    Write(*limit, "B", 60);
    std::vector<CapturedMessage> const messages = mpCapture->Take();
    EXPECT_THAT(
        messages, ElementsAre(AllOf(TextIs("Held back 3 messages of 0x80000304 since 2026-11-18 03:00:02.000-05:00"),
                                  LoggerIs("Kernel"), DispatcherIs("Error"), MessageIDIs(0u), UserIs("")),
                      AllOf(TextIs("B"), LoggerIs("Other"), MessageIDIs(7u), UserIs("alice"))));
    EXPECT_EQ(messages[0].mHostName, "ws01");
    EXPECT_EQ(messages[0].mTime.GetMinute(), 1);
    // The next period begins with its first message.
    mpHeader->SetMessageID(0x80000304);
    for (int second : {90, 91, 92, 149})
        Write(*limit, "A", second);
    Write(*limit, "A", 150);
    EXPECT_EQ(TakeTexts(), "A|A|Held back 2 messages of 0x80000304 since 2026-11-18 03:01:32.000-05:00|A|");
}

TEST_F(RateLimitTest, CountsEachKindForItself)
{
    struct
    {
        RateLimitPer mPer;
        char const* mExpected;
    } const cases[] = {
        {RateLimitPer::kMessageID, "1|2|3|5|7|Held back 3 messages of 0x0000002A"},
        {RateLimitPer::kCallSite, "1|3|4|5|6|7|8|Held back 1 message of Client.cpp:77"},
        {RateLimitPer::kDispatcher, "1|2|6|Held back 4 messages of Kernel/Error"},
    };
    struct
    {
        char const* mText;
        unsigned int mID;
        char const* mFile;
        int mLine;
        char const* mLogger;
    } const messages[] = {{"1", 42, "a/Client.cpp", 77, "Kernel"}, {"2", 0, "a/Client.cpp", 77, "Other"},
        {"3", 43, "a/Client.cpp", 78, "Kernel"}, {"4", 42, "b/Client.cpp", 77, "Kernel"}, {"5", 0, "", 0, "Kernel"},
        {"6", 42, "", 0, "third"}, {"7", 0, "", 0, "Other"}, {"8", 42, nullptr, 1, "Kernel"}};
    for (auto const& [per, expected] : cases)
    {
        auto limit = Limit(1, 60, per);
        mpHeader->SetDispatcherName("Error");
        for (auto const& [text, id, file, line, logger] : messages)
        {
            mpHeader->SetMessageID(id);
            mpHeader->SetSourceFile(file);
            mpHeader->SetSourceLine(line);
            mpHeader->SetLoggerName(logger);
            Write(*limit, text);
        }
        limit->Report();
        EXPECT_THAT(TakeTexts(), StartsWith(expected));
    }
}

TEST_F(RateLimitTest, KeepsTheCountIfItsLineCannotBeWritten)
{
    CountedPtr<Failing> const failing(new Failing(*mpCapture));
    CountedPtr<Destination_RateLimit> limit(
        CreateDestination_RateLimit(*failing, {0, std::chrono::seconds(10)}, RateLimitPer::kMessageID));
    for (unsigned int const id : {1u, 2u, 2u})
    {
        mpHeader->SetMessageID(id);
        Write(*limit, "A");
    }
    failing->mFails = true;
    mpHeader->SetMessageID(0);
    EXPECT_THROW(Write(*limit, "B", 11), std::runtime_error);
    EXPECT_THROW(limit->Report(), std::runtime_error);
    failing->mFails = false;
    Write(*limit, "C", 12);
    EXPECT_THAT(mpCapture->Take(), ElementsAre(TextIs(StartsWith("Held back 1 message of 0x00000001")),
                                       TextIs(StartsWith("Held back 2 messages of 0x00000002")), TextIs("C")));
    limit.reset();
    EXPECT_EQ(TakeTexts(), "");
}

TEST_F(RateLimitTest, LivesWithAClockThatIsSetBack)
{
    auto limit = Limit(1, 10, RateLimitPer::kMessageID);
    mpHeader->SetMessageID(1);
    Write(*limit, "A", 100);
    Write(*limit, "A", 95);
    EXPECT_EQ(TakeTexts(), "A|");
    Write(*limit, "A", 30);
    EXPECT_EQ(TakeTexts(), "Held back 1 message of 0x00000001 since 2026-11-18 03:01:35.000-05:00|A|");
}

TEST_F(RateLimitTest, LosesNoCountOnSeveralThreads)
{
    constexpr unsigned int kThreads = 4;
    constexpr unsigned int kMessages = 3000;
    auto limit = Limit(3, 1, RateLimitPer::kMessageID);
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back(
            [&]
            {
                CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
                QzLog::Timestamp_Impl time;
                for (unsigned int i = 0; i < kMessages; ++i)
                {
                    // A second is some hundred messages; now and then somebody asks for the lines.
                    time.FromISO8601String(("2026-11-18 03:00:" + std::to_string(10 + i / 100)).c_str());
                    header->SetTimestamp(time);
                    header->SetMessageID(1 + i % 3);
                    limit->WriteMessage("A", *header);
                    if (i % 500 == 0)
                        limit->Report();
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    limit.reset();
    unsigned int count = 0;
    for (CapturedMessage const& message : mpCapture->Take())
    {
        unsigned int held = 1;
        std::sscanf(message.mText.c_str(), "Held back %u", &held);
        count += held;
    }
    EXPECT_EQ(count, kThreads * kMessages);
}

TEST_F(RateLimitTest, CountsInAForkedChildWhatTheChildHeldBack)
{
    auto limit = Limit(0, 1000, RateLimitPer::kMessageID);
    mpHeader->SetMessageID(1);
    Write(*limit, "A");
    CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
    unsigned int id = 0;
    ExpectInChildrenOfBusyParent(
        20,
        [&]
        {
            header->SetMessageID(2 + ++id % 100);
            limit->WriteMessage("B", *header);
        },
        [&]
        {
            Write(*limit, "A");
            limit->Report();
            return TakeTexts().find("Held back 1 message of 0x00000001") == 0;
        });
}

TEST_F(RateLimitFileTest, SaysTheRestAtTheEndOfTheModule)
{
    {
        QzLog::Initializer const module;
        CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Info"));
        CountedPtr<QzLog::Destination_DiskFile> const file(QzLog::GetDestination_DiskFile(WideIn("a.log")));
        CountedPtr<QzLog::Destination> const limit(
            CreateDestination_RateLimit(*file, {1, kLong}, RateLimitPer::kDispatcher));
        unsigned int const withCallStack = 7;
        limit->SetCallstackMessageIDs(&withCallStack, 1);
        SetDestination(*router, *limit);
        QzLog::Log(*router, 7);
        QzLog::Log(*router, "held");
    }
    EXPECT_THAT(
        Get("a.log"), AllOf(HasSubstr("- callstack -"), Not(HasSubstr("held\r\n")),
                          ContainsRegex("\\[Kernel\\]\\[Info\\].* Held back 1 message of Kernel/Info since 2")));
}

TEST_F(SelectionTest, PassesTheMessagesOfThoseWhoAreSelected)
{
    CountedPtr<Destination_Selection> const selection(CreateDestination_Selection(*mpCapture));
    auto const passed = [&]
    {
        for (auto const& [text, user, session, object] : std::initializer_list<std::array<char const*, 4>>{
                 {"1", "", "", ""}, {"2", "alice", "S1", ""}, {"3", "bob", "S2", ""}, {"4", "bob", "", "report"}})
        {
            mpHeader->SetUserID(user);
            mpHeader->SetSessionID(session);
            mpHeader->SetObjectID(object);
            Write(*selection, text);
        }
        return TakeTexts();
    };
    struct
    {
        Selection mSelection;
        char const* mExpected;
    } const cases[] = {
        {{}, ""},
        {{.mUserIDs = {"zoe", "bob", "carol"}}, "3|4|"},
        {{.mUserIDs = {"alice"}, .mSessionIDs = {"alice"}, .mObjectIDs = {"report"}}, "2|4|"},
        {{.mSessionIDs = {"S2", "S1"}}, "2|3|"},
        {{.mUserIDs = {""}}, "1|"},
    };
    for (auto const& [selected, expected] : cases)
    {
        selection->Select(selected);
        EXPECT_EQ(passed(), expected);
        EXPECT_EQ(selection->GetSelection().IsEmpty(), selected.IsEmpty());
    }
}

TEST_F(LanguageTest, GivesStructuredMessagesInALanguage)
{
    CountedPtr<QzLog::Destination> const german(CreateDestination_Language(*mpCapture, 0x407));
    CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
    QzBase::Message message(QzBase::MESSAGE_DOMAIN_SERVER, 5, "page %1");
    message.SetLocalizedText(0x407, "Seite %1");
    body->SetMessage(message << 3);
    german->WriteMessage(*mpHeader, *body);
    mpCapture->WriteMessage(*mpHeader, *body);
    Write(*german, "text");
    EXPECT_EQ(TakeTexts(), "Seite 3|page 3|text|");
}

TEST(CallLimit, HoldsBackAtOnePlace)
{
    QzLog::Initializer const module;
    CountedPtr<Destination_Capture> const capture(CreateDestination_Capture());
    CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Error"));
    CallLimit limit({2, kLong});
    CallLimit other({1, kLong});
    auto const log = [&] { return limit.Admits(*router, "src/Client.cpp", 77); };
    EXPECT_FALSE(log()) << "the router is disabled";
    SetDestination(*router, *capture);
    EXPECT_TRUE(log() && log() && other.Admits(*router));
    EXPECT_FALSE(log() || log());
    ReportHeldBack();
    ReportHeldBack();
    EXPECT_THAT(capture->Take(), ElementsAre(AllOf(TextIs(StartsWith("Held back 2 messages of Client.cpp:77 since 2")),
                                     DispatcherIs("Error"), SourceFileIs("src/Client.cpp"))));
    {
        CallLimit ends({0, std::chrono::milliseconds(0)});
        EXPECT_FALSE(ends.Admits(*router));
        EXPECT_FALSE(ends.Admits(*router));
        EXPECT_EQ(capture->Take().size(), 1u) << "a period of 0 is over at the next message";
    }
    EXPECT_EQ(capture->Take().size(), 1u);
}
