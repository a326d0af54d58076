#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_Impl.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Log.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLogKit/CallLimit.h>
#include <QzLogKit/Destination_Capture.h>
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
    constexpr int kDay = 24 * 60 * 60;

    struct WrapperTest : QzTest::TemporaryFolder
    {
        /// Writes a message at those seconds, under the header as it is.
        void Write(QzLog::Destination& destination, char const* text, std::initializer_list<int> seconds = {0})
        {
            for (int const second : seconds)
            {
                char time[64];
                std::snprintf(time, sizeof(time), "2026-11-%d 03:%02d:%02d.000-05:00", 18 + second / kDay,
                    second % kDay / 60, second % 60);
                QzLog::Timestamp_Impl stamp;
                stamp.FromISO8601String(time);
                mpHeader->SetTimestamp(stamp);
                destination.WriteMessage(text, *mpHeader);
            }
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
            mpHeader->SetMessageID(1);
            return CreateDestination_RateLimit(*mpCapture, {messages, std::chrono::seconds(seconds)}, per);
        }

        CountedPtr<Destination_Capture> const mpCapture{CreateDestination_Capture()};
        CountedPtr<QzLog::MessageHeader> const mpHeader{QzLog::CreateMessageHeader()};
    };

    void SetDestination(QzLog::Router& router, QzLog::Destination& destination)
    {
        router.GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({&destination}));
    }

    class Failing final : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        void WriteMessage(char const* text, QzLog::MessageHeader&) override
        {
            if (mFails)
                throw std::runtime_error("no");
            (mTexts += text) += '|';
        }
        void WriteMessage(QzLog::MessageHeader&, QzLog::MessageBody&) override {}

        bool mFails = false;
        std::string mTexts;
    };
}

TEST_F(WrapperTest, ARateLimitSaysWhatItHeldBackBeforeTheFirstMessageAfterThePeriod)
{
    auto limit = Limit(2, 60, RateLimitPer::kMessageID);
    mpHeader->SetHostName("ws01");
    mpHeader->SetLoggerName("Kernel");
    mpHeader->SetDispatcherName("Error");
    mpHeader->SetUserID("alice");
    Write(*limit, "A", {0, 1, 2, 3, 59});
    EXPECT_EQ(TakeTexts(), "A|A|");
    // One of another count ends it.
    mpHeader->SetMessageID(7);
    mpHeader->SetLoggerName("Other");
    Write(*limit, "B", {60});
    std::vector<CapturedMessage> const messages = mpCapture->Take();
    EXPECT_THAT(
        messages, ElementsAre(AllOf(TextIs("Held back 3 messages of 0x00000001 since 2026-11-18 03:00:02.000-05:00"),
                                  LoggerIs("Kernel"), DispatcherIs("Error"), MessageIDIs(0u), UserIs("")),
                      AllOf(TextIs("B"), LoggerIs("Other"), MessageIDIs(7u), UserIs("alice"))));
    EXPECT_EQ(messages[0].mHostName, "ws01");
    EXPECT_EQ(messages[0].mTime.GetMinute(), 1);
    // The next period begins with its first message.
    mpHeader->SetMessageID(1);
    Write(*limit, "A", {90, 91, 92, 149, 150});
    EXPECT_EQ(TakeTexts(), "A|A|Held back 2 messages of 0x00000001 since 2026-11-18 03:01:32.000-05:00|A|");
    // A clock that is set back by more than a period ends it too.
    Write(*limit, "A", {149, 148, 89});
    EXPECT_EQ(TakeTexts(), "A|Held back 1 message of 0x00000001 since 2026-11-18 03:02:28.000-05:00|A|");
    // As does the same time on another day.
    Write(*limit, "A", {89, 90, 90 + kDay});
    EXPECT_EQ(TakeTexts(), "A|Held back 1 message of 0x00000001 since 2026-11-18 03:01:30.000-05:00|A|");
}

TEST_F(WrapperTest, ARateLimitCountsEachKindForItself)
{
    std::pair<RateLimitPer, char const*> const cases[] = {
        {RateLimitPer::kMessageID, "1|2|3|5|7|Held back 3 messages of 0x0000002A"},
        {RateLimitPer::kCallSite, "1|3|4|5|6|7|8|Held back 1 message of Client.cpp:77"},
        {RateLimitPer::kDispatcher, "1|2|6|Held back 4 messages of Kernel/Error"}};
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
    mpHeader->SetDispatcherName("Error");
    for (auto const& [per, expected] : cases)
    {
        auto limit = Limit(1, 60, per);
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

TEST_F(WrapperTest, ARateLimitKeepsTheCountIfItsLineCannotBeWritten)
{
    CountedPtr<Failing> const failing(new Failing);
    CountedPtr<Destination_RateLimit> limit(
        CreateDestination_RateLimit(*failing, {0, std::chrono::seconds(10)}, RateLimitPer::kMessageID));
    for (unsigned int const id : {1u, 2u, 2u})
    {
        mpHeader->SetMessageID(id);
        Write(*limit, "A");
    }
    failing->mFails = true;
    mpHeader->SetMessageID(0);
    EXPECT_THROW(Write(*limit, "B", {11}), std::runtime_error);
    EXPECT_THROW(limit->Report(), std::runtime_error);
    failing->mFails = false;
    Write(*limit, "C", {12});
    limit.reset();
    EXPECT_THAT(failing->mTexts, MatchesRegex("Held back 1 message of 0x00000001[^|]*\\|Held back 2 messages of "
                                              "0x00000002[^|]*\\|C\\|"));
}

TEST_F(WrapperTest, ARateLimitLosesNoCountOnSeveralThreads)
{
    constexpr unsigned int kThreads = 4;
    constexpr unsigned int kMessages = 3000;
    auto limit = Limit(3, 1, RateLimitPer::kMessageID);
    {
        std::vector<std::jthread> threads(kThreads);
        for (std::jthread& thread : threads)
            thread = std::jthread(
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
    }
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

TEST_F(WrapperTest, ARateLimitCountsInAForkedChildWhatTheChildHeldBack)
{
    auto limit = Limit(0, 1000, RateLimitPer::kMessageID);
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

TEST_F(WrapperTest, ARateLimitSaysTheRestAtTheEndOfTheModule)
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

TEST_F(WrapperTest, ASelectionPassesTheMessagesOfThoseWhoAreSelected)
{
    CountedPtr<Destination_Selection> const selection(CreateDestination_Selection(*mpCapture));
    std::pair<Selection, char const*> const cases[] = {
        {{}, ""},
        {{.mUserIDs = {"zoe", "bob", "carol"}}, "3|4|"},
        {{.mUserIDs = {"alice"}, .mSessionIDs = {"alice"}, .mObjectIDs = {"report"}}, "2|4|"},
        {{.mSessionIDs = {"S2", "S1"}}, "2|3|"},
        {{.mUserIDs = {""}}, "1|"},
    };
    for (auto const& [selected, expected] : cases)
    {
        selection->Select(selected);
        for (auto const& [text, user, session, object] : std::initializer_list<std::array<char const*, 4>>{
                 {"1", "", "", ""}, {"2", "alice", "S1", ""}, {"3", "bob", "S2", ""}, {"4", "bob", "", "report"}})
        {
            mpHeader->SetUserID(user);
            mpHeader->SetSessionID(session);
            mpHeader->SetObjectID(object);
            Write(*selection, text);
        }
        EXPECT_EQ(TakeTexts(), expected);
        EXPECT_EQ(selection->GetSelection().IsEmpty(), selected.IsEmpty());
    }
}

TEST_F(WrapperTest, ACallLimitHoldsBackAtOnePlace)
{
    QzLog::Initializer const module;
    CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Error"));
    CallLimit limit({2, kLong});
    CallLimit other({1, kLong});
    auto const log = [&] { return limit.Admits(*router, "src/Client.cpp", 77); };
    EXPECT_FALSE(log()) << "the router is disabled";
    SetDestination(*router, *mpCapture);
    EXPECT_TRUE(log() && log() && other.Admits(*router));
    EXPECT_FALSE(log() || log());
    ReportHeldBack();
    ReportHeldBack();
    EXPECT_THAT(
        mpCapture->Take(), ElementsAre(AllOf(TextIs(StartsWith("Held back 2 messages of Client.cpp:77 since 2")),
                               DispatcherIs("Error"), SourceFileIs("src/Client.cpp"))));
    {
        CallLimit ends({0, std::chrono::milliseconds(0)});
        EXPECT_FALSE(ends.Admits(*router));
        EXPECT_FALSE(ends.Admits(*router));
        EXPECT_EQ(mpCapture->Take().size(), 1u) << "a period of 0 is over at the next message";
    }
    EXPECT_EQ(mpCapture->Take().size(), 1u);
}
