#include "routing/Road.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace Road;
using testing::ElementsAre;

namespace
{
    struct Call
    {
        char const* mpName;
        void (*mpLog)(Router&);
        char const* mpText;
        unsigned int mID;
        bool mThrows = false;
        int mThrownID = 0;
        char const* mpTextWithoutCatalog = nullptr; // where it differs
    };

    QzResource::MessageFormatter& Values()
    {
        return GetMessageFormatter() << "a" << 7;
    }

    Call const kCalls[] = {
        {"text", [](Router& r) { LogString(r, "%1 %%", "c", "f", "g", 3); }, "%1 %%", 0},
        {"null text", [](Router& r) { LogString(r, nullptr, "c", "f", "g", 3); }, "(null)", 0},
        {"empty text", [](Router& r) { LogString(r, "", nullptr, "f", "g", 3); }, "", 0},
        {"template", [](Router& r) { LogMessage(r, "%2<%1", Values(), nullptr, "f", "g", 3); }, "7<a", 0},
        {"no template", [](Router& r) { LogMessage4NP(r, "%1", Values(), nullptr, "f", "g", 3); }, "%1", 0},
        {"string ID", [](Router& r) { LogString(r, 42u, "c", "f", "g", 3); }, "string 42 c", 42, false, 0,
            "Message 0x0000002A"},
        {"template ID", [](Router& r) { LogMessage(r, 0xABCDEF01u, Values(), "c", "f", "g", 3); }, "template a-7",
            0xABCDEF01, false, 0, "Message 0xABCDEF01 a 7"},
        {"ID zero", [](Router& r) { LogMessage(r, 0u, Values(), "c", "f", "g", 3); }, "template a-7", 0, false, 0,
            "Message 0x00000000 a 7"},
        {"template ID, 4NP", [](Router& r) { LogMessage4NP(r, 42u, Values(), "c", "f", "g", 3); }, "template a-7", 42,
            false, 0, "Message 0x0000002A a 7"},
        {"throw template", [](Router& r) { LogMessageAndThrowBaseException(r, "%2<%1", Values(), "c"); }, "7<a", 0,
            true, -1},
        {"throw template ID", [](Router& r) { LogMessageAndThrowBaseException(r, 0x80000001u, Values(), "c"); },
            "template a-7", 0x80000001, true, -2147483647, "Message 0x80000001 a 7"},
        {"throw text", [](Router& r) { LogStringAndThrowBaseException(r, "5%% %1", nullptr); }, "5%% %1", 0, true, -1},
        {"throw null", [](Router& r) { LogStringAndThrowBaseException(r, nullptr, nullptr); }, "(null)", 0, true, -1},
        {"throw string ID", [](Router& r) { LogStringAndThrowBaseException(r, 42u, "c"); }, "string 42 c", 42, true, 42,
            "Message 0x0000002A"},
    };

    class LogTest : public testing::Test
    {
    protected:
        /// Makes the call and checks what it throws.
        void Run(Call const& call, Router& router, std::string const& text)
        {
            bool thrown = false;
            errno = 42;
            try
            {
                call.mpLog(router);
                EXPECT_EQ(errno, 42);
            }
            catch (QzBase::ExceptionImpl<QzBase::Message> const& message)
            {
                thrown = true;
                EXPECT_EQ(message.GetDomain(), QzBase::MESSAGE_DOMAIN_UNKNOWN);
                EXPECT_EQ(message.GetID(), call.mThrownID);
                std::string const thrownText(QzBase::WideCharToUTF8(message.GetMessage(), true).c_str());
                EXPECT_EQ(thrownText, text == "(null)" ? "" : text);
            }
            EXPECT_EQ(thrown, call.mThrows);
        }

        Initializer const mInitializer;
    };
}

TEST_F(LogTest, EveryCallDeliversItsText)
{
    Line const line;
    line.mpDestination->mAction = [] { errno = 5; };
    for (bool const hasCatalog : {true, false})
    {
        line.mpRouter->GetLogger()->SetMessageCatalog(hasCatalog ? CountedPtr<Catalog>(new Catalog).get() : nullptr);
        for (Call const& call : kCalls)
        {
            SCOPED_TRACE(std::string(call.mpName) + (hasCatalog ? "" : ", no catalog"));
            std::string const text = hasCatalog || !call.mpTextWithoutCatalog ? call.mpText : call.mpTextWithoutCatalog;
            line.mpDestination->mRecords.clear();
            Run(call, *line.mpRouter, text);
            ASSERT_EQ(line.mpDestination->mRecords.size(), 1u);
            Record const& record = line.mpDestination->mRecords.front();
            EXPECT_EQ(record.mText, text);
            EXPECT_EQ(record.mID, call.mID);
            EXPECT_EQ(record.mLogger + "/" + record.mDispatcher, "L/D");
            EXPECT_EQ(record.mPlace, call.mThrows ? "::0" : "f:g:3");
        }
    }
}

TEST_F(LogTest, OnADisabledRouterOnlyTheThrowingCallsBuildTheirText)
{
    CountedPtr<Router> const router = MakeRouter();
    router->GetLogger()->SetMessageCatalog(CountedPtr<Catalog>(new Catalog).get());
    for (Call const& call : kCalls)
    {
        SCOPED_TRACE(call.mpName);
        Run(call, *router, call.mpText);
    }
    QzResource::MessageFormatter& formatter = Values();
    LogMessage(*router, "%1", formatter, nullptr, nullptr, nullptr, 0);
    LogMessage(*router, 42u, formatter, nullptr, nullptr, nullptr, 0);
    LogMessage4NP(*router, 42u, formatter, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(formatter.GetValueCount(), 2u);
}

TEST_F(LogTest, ADestinationThatThrowsReplacesTheMessageToBeThrown)
{
    Line const line;
    line.mpDestination->mAction = [] { throw 7; };
    EXPECT_THROW(LogStringAndThrowBaseException(*line.mpRouter, "text", nullptr), int);
    EXPECT_EQ(Format::WideDec, Format::Dec);
}

namespace
{
    class ScopeGuardTest : public LogTest
    {
    protected:
        Line const mLine;
        Router& mRouter = *mLine.mpRouter;
        std::vector<std::string> Texts() { return mLine.mpDestination->Texts(); }
    };
}

TEST_F(ScopeGuardTest, LogsEntryAndExit)
{
    {
        ScopeGuard const guard(mRouter, "S", "f.cpp", 100);
    }
    {
        ScopeGuard guard(mRouter, "S", nullptr, 100);
        EXPECT_EQ(guard.SetReturnCode(-1, 110), -1);
        EXPECT_EQ(guard.SetReturnCode(0L, 120), 0L);
    }
    {
        ScopeGuard guard(mRouter, u"S"_w, "f.cpp", 1);
        EXPECT_EQ(guard.SetReturnCode(0x1234567890UL, 2), 0x1234567890UL);
        EXPECT_STREQ(guard.GetScopeName(), "[use char* as function name to see it]");
    }
    EXPECT_THAT(Texts(),
        ElementsAre("Enter 'S' near f.cpp(100)", "Leave 'S' near f.cpp(100)", "Enter 'S' near (100)",
            "Leave 'S' near (120) with 0x00000000", "Enter '[use char* as function name to see it]' near f.cpp(1)",
            "Leave '[use char* as function name to see it]' near f.cpp(2) with 0x34567890"));
    EXPECT_EQ(mLine.mpDestination->mRecords.front().mPlace, "::0");
}

TEST_F(ScopeGuardTest, DecidesAtBothEnds)
{
    QzBase::ReturnPtrI<Dispatcher> const dispatcher = mRouter.GetDispatcher();
    {
        ScopeGuard const nameless(mRouter, static_cast<char const*>(nullptr), "f", 1);
        ScopeGuard const left(mRouter, "left while off", "f", 1);
        SetDestinations(*dispatcher, {});
        ScopeGuard entered(mRouter, "entered while off", "f", 1);
        EXPECT_EQ(entered.SetReturnCode(5u, 1), 5u);
        {
            ScopeGuard const moved = std::move(left);
        }
        SetDestinations(*dispatcher, {mLine.mpDestination.get()});
        ScopeGuard copy(left);
        copy = entered;
        SetDestinations(*dispatcher, {});
    }
    EXPECT_THAT(Texts(), ElementsAre("Enter 'left while off' near f(1)"));
    SetDestinations(*dispatcher, {mLine.mpDestination.get()});
    {
        ScopeGuard const guard(mRouter, "copied", "f", 1);
        ScopeGuard const copy(guard);
    }
    EXPECT_THAT(Texts(), ElementsAre("Enter 'left while off' near f(1)", "Enter 'copied' near f(1)",
                             "Leave 'copied' near f(1)", "Leave 'copied' near f(1)"));
}

TEST_F(ScopeGuardTest, SwallowsWhatItsLoggingThrows)
{
    mLine.mpDestination->mAction = [] { throw 7; };
    {
        ScopeGuard const guard(mRouter, "S", "f", 1);
        mLine.mpDestination->mAction = nullptr;
    }
    EXPECT_THAT(Texts(), ElementsAre("Leave 'S' near f(1)"));
    mLine.mpDestination->mAction = [] { throw 7; };
    errno = 42;
    {
        ScopeGuard const guard(mRouter, "S", "f", 1);
    }
    EXPECT_EQ(errno, 42);
}
