#include "routing/Road.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <string_view>

namespace User
{
    /// A type with a text of its own, which counts how often that is asked for and spoils errno.
    struct Money
    {
        int mCents;
        int* mpAsked;
    };

    static QzResource::MessageFormatter& operator<<(QzResource::MessageFormatter& formatter, Money const& money)
    {
        ++*money.mpAsked;
        errno = 5;
        return formatter << std::to_string(money.mCents) + " ct";
    }
}

using namespace Road;
using QzLog::CallDetails::FindFault;
using QzLog::CallDetails::TemplateFault;

namespace
{
    enum class Colour : signed char
    {
        Red = -3
    };
    enum Plain : bool
    {
        kPlain = true
    };
    enum class ID : unsigned int
    {
        Done = 0xC0000007
    };

    class Catalog final : public Counted<MessageCatalog>
    {
    public:
        QzBase::ReturnString GetMessageString(unsigned int, unsigned short, char const*) override { return "string"; }

        QzResource::MessageTemplate const& GetMessageTemplate(
            unsigned int, unsigned short, char const* context) override
        {
            mTemplate.SetText((std::string("%1 by %2 in ") + (context ? context : "(null)")).c_str());
            return mTemplate;
        }

        QzResource::MessageTemplate mTemplate;
    };

    struct LogCallTest : testing::Test, Module
    {
        template <class Value>
        std::string TextOf(Value const& value)
        {
            QzLog::Log(mRouter, "%2%1", '|', value);
            return mDestination.TakeTexts();
        }

        /// The last record's place, without folders.
        std::string TakePlace()
        {
            std::string const place = mDestination.mRecords.at(0).mPlace;
            mDestination.mRecords.clear();
            return std::filesystem::path(place).filename();
        }
    };
}

TEST_F(LogCallTest, EveryKindOfValueHasItsText)
{
    using Limits = std::numeric_limits<long long>;
    char buffer[8] = "buf";
    char const* const nullText = nullptr;
    std::string const withZero("a\0b", 3);
    int asked = 0;
    int volatile volatileNumber = 12;
    struct
    {
        unsigned int mBits : 3;
    } const bitField{5};
    struct
    {
        std::string mActual;
        std::string mExpected;
    } const cases[] = {
        {TextOf(std::string("a%1")), "a%1"},
        {TextOf(std::string_view("cut off", 3)), "cut"},
        {TextOf(std::string_view()), ""},
        {TextOf("literal"), "literal"},
        {TextOf(buffer), "buf"},
        {TextOf(static_cast<char*>(buffer)), "buf"},
        {TextOf(nullText), ""},
        {TextOf(u"wide \u20AC"_w), "wide \u20AC"},
        {TextOf(QzBase::WideString(u"own"_w)), "own"},
        {TextOf(QzBase::ReturnWString(u"returned"_w)), "returned"},
        {TextOf(QzBase::ReturnString("returned")), "returned"},
        {TextOf(static_cast<unsigned short const*>(nullptr)), ""},
        {TextOf(std::filesystem::path("/a/b")), "/a/b"},
        {TextOf('c'), "c"},
        {TextOf(static_cast<signed char>(-1)), "-1"},
        {TextOf(static_cast<unsigned char>('A')), "65"},
        {TextOf(static_cast<short>(-2)), "-2"},
        {TextOf(static_cast<unsigned short>(65535)), "65535"},
        {TextOf(volatileNumber), "12"},
        {TextOf(bitField.mBits), "5"},
        {TextOf(4000000000u), "4000000000"},
        {TextOf(-5L), "-5"},
        {TextOf(Limits::min()), "-9223372036854775808"},
        {TextOf(~0ull), "18446744073709551615"},
        {TextOf(true), "true"},
        {TextOf(0.1f), "0.1"},
        {TextOf(1e300), "1e+300"},
        {TextOf(0.1L), "0.1"},
        {TextOf(std::numeric_limits<double>::quiet_NaN()), "nan"},
        {TextOf(Colour::Red), "-3"},
        {TextOf(kPlain), "1"},
        {TextOf(std::byte{200}), "200"},
        {TextOf(std::bit_cast<int*>(std::uintptr_t{0x7FFE12AB})), "0x7ffe12ab"},
        {TextOf(std::bit_cast<void const volatile*>(~std::uintptr_t{0})), "0xffffffffffffffff"},
        {TextOf(std::bit_cast<int (*)(int)>(std::uintptr_t{0xF00})), "0xf00"},
        {TextOf(nullptr), "0x0"},
        {TextOf(User::Money{5, &asked}), "5 ct"},
        {TextOf([] { return 2.5f; }), "2.5"},
    };
    for (auto const& [actual, expected] : cases)
        EXPECT_EQ(actual, expected + "| ");
    QzLog::Log(mRouter, "%1", withZero);
    EXPECT_EQ(mDestination.TakeTexts(), "a ") << "the text ends at its zero byte";
    QzLog::Log(
        mRouter, "%1 %2 %3", Format::Hex, 255, Format::WideHex, Colour::Red, QzResource::MessageFormat::Dec, 255);
    EXPECT_EQ(mDestination.TakeTexts(), "FF 0xFFFFFFFD 255 ");
}

TEST_F(LogCallTest, TemplatesAreCheckedAgainstTheirValues)
{
    struct
    {
        char const* mpTemplate;
        std::size_t mValueCount;
        TemplateFault mFault;
    } const cases[] = {
        {"100 % of %%1", 0, TemplateFault::None},
        {"%2%1%1", 2, TemplateFault::None},
        {"%1", 0, TemplateFault::NumberWithoutValue},
        {"%1 and %12", 2, TemplateFault::NumberWithoutValue},
        {"%99", 99, TemplateFault::ValueWithoutNumber},
        {"%0", 1, TemplateFault::ValueWithoutNumber},
    };
    for (auto const& [text, valueCount, fault] : cases)
        EXPECT_EQ(FindFault(text, valueCount), fault) << text;
    static_assert(FindFault("%1 %3", 3) == TemplateFault::ValueWithoutNumber);

    constexpr char const* kTemplate = "constant %%%1";
    QzLog::Log(mRouter, kTemplate, 1);
    QzLog::Log(mRouter, "100%%");
    QzLog::Log(mRouter, "plain");
    QzLog::Log(mRouter, RunTimeTemplate(std::string("%1 %7 %%")), 1, 2);
    QzLog::Log(mRouter, RunTimeTemplate(nullptr));
    EXPECT_EQ(mDestination.TakeTexts(), "constant %1 100% plain 1 %7 %  ");
}

TEST_F(LogCallTest, NotesWhereItStands)
{
    QzLog::Log(mRouter, "plain");
    EXPECT_EQ(TakePlace(), "LogCallTest.cpp:TestBody:" + std::to_string(__LINE__ - 1));
    auto const inLambda = [&](int value)
    {
        QzLog::Log(mRouter, "%1", value);
        return __LINE__ - 1;
    };
    int const lineInLambda = inLambda(1);
    EXPECT_EQ(TakePlace(), "LogCallTest.cpp:operator():" + std::to_string(lineInLambda));
    QzLog::Log(mRouter, RunTimeTemplate("plain"));
    EXPECT_EQ(TakePlace(), "LogCallTest.cpp:TestBody:" + std::to_string(__LINE__ - 1));
    QzLog::Log(mRouter, ID::Done);
    EXPECT_EQ(TakePlace(), "LogCallTest.cpp:TestBody:" + std::to_string(__LINE__ - 1));
    QzLog::Log(mRouter, CallID(7, "context"), 1);
    EXPECT_EQ(TakePlace(), "LogCallTest.cpp:TestBody:" + std::to_string(__LINE__ - 1));
}

TEST_F(LogCallTest, MessageIDsAndStructuredMessagesKeepTheirIDs)
{
    QzLog::Log(mRouter, ID::Done, "work", 7);
    EXPECT_EQ(mDestination.mRecords.at(0).mID, 0xC0000007);
    QzLog::Log(mRouter, 0);
    mRouter.GetLogger()->SetMessageCatalog(CountedPtr<Catalog>(new Catalog).get());
    QzLog::Log(mRouter, ID::Done, "work", Colour::Red);
    QzLog::Log(mRouter, CallID(-1, "night"), "work");
    EXPECT_EQ(mDestination.mRecords.at(3).mID, 0xFFFFFFFF);
    QzLog::Log(mRouter, QzBase::ExceptionImpl<QzBase::Message>(QzBase::MESSAGE_DOMAIN_UNKNOWN, 9, "message"));
    EXPECT_EQ(mDestination.mRecords.at(4).mID, 9u);
    EXPECT_EQ(mDestination.TakeTexts(), "Message 0xC0000007 work 7 Message 0x00000000 work by -3 in (null) "
                                        "work by %2 in night message ");
}

TEST_F(LogCallTest, OnADisabledRouterNothingIsTouchedButWhatIsThrown)
{
    int asked = 0;
    User::Money const money{5, &asked};
    errno = 42;
    QzLog::Log(mRouter, "%1", money);
    EXPECT_EQ(errno, 42);
    EXPECT_EQ(asked, 1);

    SetDestinations(*mRouter.GetDispatcher(), {});
    QzLog::Log(mRouter, "%1%2", money, [&] { return ++asked; });
    QzLog::Log(mRouter, 1u, money);
    EXPECT_EQ(asked, 1);
    for (int const thrownID : {-1, 7})
        try
        {
            if (thrownID == 7)
                QzLog::LogAndThrow(mRouter, 7, money);
            QzLog::LogAndThrow(mRouter, "lost %1", money);
        }
        catch (QzBase::Message const& message)
        {
            EXPECT_EQ(message.GetID(), thrownID);
            EXPECT_NE(std::string(QzBase::FormatMessage(message, 0).c_str()).find(" 5 ct"), std::string::npos);
        }
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(mDestination.TakeTexts(), "5 ct ");
}

TEST_F(LogCallTest, TheScopeMacroTracesNestedBlocks)
{
    auto const trace = [&]
    {
        QZLOG_SCOPE(mRouter);
        {
            QZLOG_SCOPE(mRouter);
        }
        return QZLOG_RETURN_CODE(Colour::Red);
    };
    int const lastLine = __LINE__ - 2;
    EXPECT_EQ(trace(), Colour::Red);
    auto const line = [](char const* event, int number)
    { return event + std::string(" 'operator()' near ") + __FILE__ + "(" + std::to_string(number) + ")"; };
    EXPECT_EQ(mDestination.TakeTexts(), line("Enter", lastLine - 4) + " " + line("Enter", lastLine - 2) + " " +
                                            line("Leave", lastLine - 2) + " " + line("Leave", lastLine) +
                                            " with 0xFFFFFFFD ");
}
