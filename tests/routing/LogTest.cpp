#include "routing/CallPath.h"

#include <gtest/gtest.h>

#include <optional>

using namespace CallPath;

namespace
{
    QzResource::MessageFormatter& Values()
    {
        return GetMessageFormatter() << "a" << 7;
    }

    struct Call
    {
        void (*mpLog)(Router&);
        char const* mpText;
        unsigned int mID;
        char const* mpTextWithoutCatalog = nullptr; // where it differs
        int mThrownID = 0;                          // 0 when nothing is thrown
    };

    Call const kCalls[] = {
        {[](Router& r) { LogString(r, "%1 %%", "c", "f", "g", 3); }, "%1 %%", 0},
        {[](Router& r) { LogString(r, nullptr, "c", "f", "g", 3); }, "(null)", 0},
        {[](Router& r) { LogMessage(r, "%2<%1", Values(), nullptr, "f", "g", 3); }, "7<a", 0},
        {[](Router& r) { LogMessage(r, nullptr, Values(), nullptr, "f", "g", 3); }, "", 0},
        {[](Router& r) { LogMessage4NP(r, "%1", Values(), nullptr, "f", "g", 3); }, "%1", 0},
        {[](Router& r) { LogString(r, 42u, "c", "f", "g", 3); }, "string 42 c", 42, "Message 0x0000002A"},
        {[](Router& r) { LogMessage(r, ~1u, Values(), "c", "f", "g", 3); }, "a by 7c", ~1u, "Message 0xFFFFFFFE a 7"},
        {[](Router& r) { LogMessage4NP(r, 0u, Values(), "c", "f", "g", 3); }, "a by 7c", 0, "Message 0x00000000 a 7"},
        {[](Router& r) { LogMessageAndThrowBaseException(r, "%2<%1", Values(), "c"); }, "7<a", 0, nullptr, -1},
        {[](Router& r) { LogMessageAndThrowBaseException(r, ~1u, Values(), "c"); }, "a by 7c", ~1u,
            "Message 0xFFFFFFFE a 7", -2},
        {[](Router& r) { LogStringAndThrowBaseException(r, "5%% %1", nullptr); }, "5%% %1", 0, nullptr, -1},
        {[](Router& r) { LogStringAndThrowBaseException(r, nullptr, nullptr); }, "(null)", 0, nullptr, -1},
        {[](Router& r) { LogStringAndThrowBaseException(r, 42u, "c"); }, "string 42 c", 42, "Message 0x0000002A", 42},
    };

    struct LogTest : testing::Test, Module
    {
        /// Makes the call and checks what it throws.
        void Check(Call const& call, std::string const& text)
        {
            int thrownID = 0;
            errno = 42;
            try
            {
                call.mpLog(mRouter);
                EXPECT_EQ(errno, 42);
            }
            catch (QzBase::ExceptionImpl<QzBase::Message> const& message)
            {
                thrownID = message.GetID();
                std::string const thrownText(QzBase::WideCharToUTF8(message.GetMessage(), true).c_str());
                EXPECT_EQ(thrownText, text == "(null)" ? "" : text);
            }
            EXPECT_EQ(thrownID, call.mThrownID);
        }
    };
}

TEST_F(LogTest, EveryCallDeliversItsText)
{
    mDestination.mAction = [] { errno = 5; };
    CountedPtr<Catalog> const catalog(new Catalog);
    for (MessageCatalog* const present : std::initializer_list<MessageCatalog*>{nullptr, catalog.get()})
    {
        mRouter.GetLogger()->SetMessageCatalog(present);
        for (Call const& call : kCalls)
        {
            std::string const text = present || !call.mpTextWithoutCatalog ? call.mpText : call.mpTextWithoutCatalog;
            SCOPED_TRACE(text);
            Check(call, text);
            ASSERT_EQ(mDestination.mRecords.size(), 1u);
            Record const& record = mDestination.mRecords.front();
            EXPECT_EQ(record.mID, call.mID);
            EXPECT_EQ(record.mNames, "L/D");
            EXPECT_EQ(record.mPlace, call.mThrownID ? "::0" : "f:g:3");
            EXPECT_EQ(mDestination.TakeTexts(), text + " ");
        }
    }
    mDestination.mAction = [] { throw 7; };
    EXPECT_THROW(LogStringAndThrowBaseException(mRouter, "text", nullptr), int);

    // On a disabled router only the throwing calls build their text.
    SetDestinations(*mRouter.GetDispatcher(), {});
    for (Call const& call : kCalls)
        Check(call, call.mpText);
    QzResource::MessageFormatter& formatter = Values();
    LogMessage(mRouter, "%1", formatter, nullptr, nullptr, nullptr, 0);
    LogMessage(mRouter, 42u, formatter, nullptr, nullptr, nullptr, 0);
    LogMessage4NP(mRouter, 42u, formatter, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(formatter.GetValueCount(), 2u);
}

TEST_F(LogTest, AScopeGuardLogsBothEndsOfALivelyScope)
{
    DispatcherPtr const dispatcher = mRouter.GetDispatcher();
    {
        ScopeGuard guard(mRouter, "S", nullptr, 100);
        ScopeGuard const copy(guard);
        EXPECT_EQ(guard.SetReturnCode(-1, 110), -1);
        EXPECT_EQ(guard.SetReturnCode(0L, 120), 0L);
        ScopeGuard wide(mRouter, u"S"_w, "f", 1);
        EXPECT_EQ(wide.SetReturnCode(0x1234567890UL, 2), 0x1234567890UL);
    }
    EXPECT_EQ(mDestination.TakeTexts(), "Enter 'S' near (100) Enter '[use char* as function name to see it]' near f(1) "
                                        "Leave '[use char* as function name to see it]' near f(2) with 0x34567890 "
                                        "Leave 'S' near (100) Leave 'S' near (120) with 0x00000000 ");
    {
        ScopeGuard const nameless(mRouter, static_cast<char const*>(nullptr), "f", 1);
        std::optional<ScopeGuard> leftWhileOff(std::in_place, mRouter, "S", "f", 1);
        SetDestinations(*dispatcher, {});
        leftWhileOff.reset();
        ScopeGuard enteredWhileOff(mRouter, "S", "f", 1);
        EXPECT_EQ(enteredWhileOff.SetReturnCode(5u, 1), 5u);
        SetDestinations(*dispatcher, {&mDestination});
        ScopeGuard const copy(enteredWhileOff);
    }
    EXPECT_EQ(mDestination.TakeTexts(), "Enter 'S' near f(1) ");
    {
        // Both fail to enter, and the second one to leave.
        mDestination.mAction = [calls = 0]() mutable
        {
            if (++calls <= 3)
                throw 7;
        };
        ScopeGuard const guard(mRouter, "S", "f", 1);
        ScopeGuard const thrower(mRouter, "T", "f", 1);
    }
    EXPECT_EQ(mDestination.TakeTexts(), "Leave 'S' near f(1) ");
}
