#include "routing/CallPath.h"

#include <gtest/gtest.h>

#include <QzLog/StandardValues.h>

#include <filesystem>
#include <forward_list>
#include <list>
#include <span>
#include <stdexcept>

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
        return formatter << QzResource::MessageFormat::Dec << money.mCents << " ct" << QzResource::MessageFormat::Hex;
    }

    /// A type of somebody else's, in a namespace where nothing can be added.
    struct Silent
    {
    };
}

namespace QzResource
{
    static MessageFormatter& operator<<(MessageFormatter& formatter, User::Silent const&)
    {
        return formatter;
    }
}

using namespace CallPath;
using QzLog::CallDetails::FindFault;
using QzLog::CallDetails::TemplateFault;

namespace
{
    enum class ID : int
    {
        Done = -2
    };

    char const* GetText()
    {
        return "text";
    }

    struct LogCallTest : testing::Test, Module
    {
        template <class Value>
        std::string TextOf(Value const& value)
        {
            QzLog::Log(mRouter, "%2%1", '|', value);
            return mDestination.TakeTexts();
        }
    };
}

TEST_F(LogCallTest, EveryKindOfValueHasItsText)
{
    int asked = 0;
    int volatile volatileNumber = 12;
    char buffer[8] = "buf";
    std::pair<std::string, char const*> const cases[] = {{TextOf(std::string("a%1")), "a%1"},
        {TextOf(std::string_view("cut off", 3)), "cut"}, {TextOf(buffer), "buf"},
        {TextOf(static_cast<char*>(buffer)), "buf"}, {TextOf(static_cast<char const*>(nullptr)), ""},
        {TextOf(u"wide \u20AC"_w), "wide \u20AC"}, {TextOf(QzBase::ReturnWString(u"own"_w)), "own"},
        {TextOf(std::filesystem::path("/a/b")), "/a/b"}, {TextOf('c'), "c"},
        {TextOf(static_cast<unsigned char>('A')), "65"}, {TextOf(volatileNumber), "12"},
        {TextOf(~0ull), "18446744073709551615"}, {TextOf(true), "true"}, {TextOf(0.1f), "0.1"}, {TextOf(0.1L), "0.1"},
        {TextOf(ID::Done), "-2"}, {TextOf(std::byte{200}), "200"},
        {TextOf(std::bit_cast<int*>(std::uintptr_t{0x7FFE12AB})), "0x7ffe12ab"},
        {TextOf(std::bit_cast<int (*)(int)>(~std::uintptr_t{0})), "0xffffffffffffffff"}, {TextOf(nullptr), "0x0"},
        {TextOf(User::Money{5, &asked}), "5 ct"}, {TextOf(User::Silent{}), ""}, {TextOf([] { return 2.5f; }), "2.5"},
        {TextOf([]() noexcept { return ID::Done; }), "-2"}, {TextOf(GetText), "text"}, {TextOf(&GetText), "text"},
        {TextOf(static_cast<char const* (*)()>(nullptr)), "0x0"}};
    for (auto const& [actual, expected] : cases)
        EXPECT_EQ(actual, expected + std::string("| "));
    QzLog::Log(mRouter, "%1 %2 %3", Format::Hex, 255, Format::WideHex, ID::Done, QzResource::MessageFormat::Dec, 255);
    EXPECT_EQ(mDestination.TakeTexts(), "FF 0xFFFFFFFE 255 ");
    QzLog::Log(mRouter, "%1 %2 %3 %4", Format::Hex, User::Silent{}, 255, User::Money{10, &asked}, 255);
    EXPECT_EQ(mDestination.TakeTexts(), " FF 10 ct FF ");
}

TEST_F(LogCallTest, ValuesOfTheStandardLibraryHaveTheirTexts)
{
    using namespace std::chrono;
    using namespace std::chrono_literals;
    sys_days const day = 2026y / November / 5;
    std::list<int> numbers(20, 7);
    using Int128 = QzLog::CallDetails::Int128;
    std::pair<std::string, char const*> const cases[] = {{TextOf(-15ms), "-15ms"},
        {TextOf(duration<double, std::ratio<1, 30>>(0.5)), "0.5[1/30]s"}, {TextOf(days(3)), "3d"},
        {TextOf(day), "2026-11-05T00:00:00Z"}, {TextOf(day + 3h + 4ms), "2026-11-05T03:00:00.004Z"},
        {TextOf(sys_seconds(-1s)), "1969-12-31T23:59:59Z"}, {TextOf(sys_seconds::max()), "9223372036854775807s"},
        {TextOf(sys_time<duration<double>>(1.5s)), "1970-01-01T00:00:01.500000000Z"},
        {TextOf(sys_time<duration<double>>(duration<double>(1e30))), "1e+30s"},
        {TextOf(steady_clock::time_point(5ns)), "5ns"},
        {TextOf(std::optional<std::optional<int>>(std::nullopt)), "none"}, {TextOf(std::make_optional(2.5)), "2.5"},
        {TextOf(std::make_error_code(std::errc::no_such_file_or_directory)), "No such file or directory (generic 2)"},
        {TextOf(std::out_of_range("range")), "range"},
        {TextOf(std::thread::id()), "thread::id of a non-executing thread"},
        {TextOf(std::map<std::string, std::tuple<char, bool>>{{"a", {'b', true}}, {"c", {'d', false}}}),
            "[(a, (b, true)), (c, (d, false))]"},
        {TextOf(std::vector<bool>{true, false}), "[true, false]"},
        {TextOf(numbers), "[7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, ... 4 more]"},
        {TextOf(Limited(numbers, 0)), "[... 20 more]"}, {TextOf(Limited(std::forward_list{1, 2, 3}, 2)), "[1, 2, ...]"},
        {TextOf(std::span<int const>()), "[]"}, {TextOf(Int128{1} << 127), "-170141183460469231731687303715884105728"},
        {TextOf(~QzLog::CallDetails::UInt128{0}), "340282366920938463463374607431768211455"}};
    for (auto const& [actual, expected] : cases)
        EXPECT_EQ(actual, expected + std::string("| "));
    QzLog::Log(mRouter, "%1 %2", Format::Hex, std::pair(10, std::vector{11, 12}), 13);
    EXPECT_EQ(mDestination.TakeTexts(), "(A, [B, C]) D ");
}

TEST_F(LogCallTest, FunctionsMayLogWhileTheirCallIsMade)
{
    auto const logAndReturn = [&](int value)
    {
        QzLog::Log(mRouter, "%1", "nested");
        for (int i = 0; i < 40; ++i)
            GetMessageFormatter() << "left behind";
        return value;
    };
    QzLog::Log(
        mRouter, "%1 %2 %3", 1, [&] { return logAndReturn(2); }, [&] { return logAndReturn(3); });
    EXPECT_EQ(mDestination.TakeTexts(), "nested nested 1 2 3 ");
}

TEST_F(LogCallTest, TemplatesAreCheckedAgainstTheirValues)
{
    static_assert(FindFault("100 % of %%1", 0) == TemplateFault::None);
    static_assert(FindFault("%2%1%1", 2) == TemplateFault::None);
    static_assert(FindFault("%1 and %12", 2) == TemplateFault::NumberWithoutValue);
    static_assert(FindFault("%1 %3", 3) == TemplateFault::ValueWithoutNumber);
    static_assert(FindFault("%99", 100) == TemplateFault::ValueWithoutNumber);

    constexpr char const* kTemplate = "constant %%%1";
    static constexpr char kArray[] = "array %1";
    QzLog::Log(mRouter, kTemplate, 1);
    QzLog::Log(&mRouter, kArray, 1);
    QzLog::Log(mRouter, "100%%");
    QzLog::Log(mRouter, RunTimeTemplate(std::string("%1 %7 %%")), 1, 2);
    QzLog::Log(mRouter, RunTimeTemplate(nullptr));
    EXPECT_EQ(mDestination.TakeTexts(), "constant %1 array 1 100% 1 %7 %  ");
}

TEST_F(LogCallTest, EachFormOfTheCallNotesItsPlace)
{
    void (*const calls[])(Router&) = {
        [](Router& r) { QzLog::Log(r, "plain"); },
        [](Router& r) { QzLog::Log(r, "%1", 1); },
        [](Router& r) { QzLog::Log(r, RunTimeTemplate("plain")); },
        [](Router& r) { QzLog::Log(r, ID::Done); },
        [](Router& r) { QzLog::Log(r, CallID(7, "context"), 1); },
    };
    int line = __LINE__ - 6;
    for (auto const call : calls)
    {
        call(mRouter);
        EXPECT_EQ(mDestination.mRecords.back().mPlace, __FILE__ + (":operator():" + std::to_string(line++)));
    }
}

TEST_F(LogCallTest, MessageIDsAndStructuredMessagesKeepTheirIDs)
{
    QzLog::Log(mRouter, 0, "work", 7);
    mRouter.GetLogger()->SetMessageCatalog(CountedPtr<Catalog>(new Catalog).get());
    QzLog::Log(mRouter, ID::Done, "work", 7);
    QzLog::Log(mRouter, CallID(8u, "context"));
    QzLog::Log(mRouter, QzBase::ExceptionImpl<QzBase::Message>(QzBase::MESSAGE_DOMAIN_UNKNOWN, 9, "message"));
    std::vector<unsigned int> ids;
    for (Record const& record : mDestination.mRecords)
        ids.push_back(record.mID);
    EXPECT_EQ(ids, (std::vector<unsigned int>{0, 0xFFFFFFFE, 8, 9}));
    EXPECT_EQ(mDestination.TakeTexts(), "Message 0x00000000 work 7 work by 7 %1 by %2context message ");
}

TEST_F(LogCallTest, OnADisabledRouterNothingIsTouchedButWhatIsThrown)
{
    int asked = 0;
    User::Money const money{5, &asked};
    errno = 42;
    QzLog::Log(mRouter, "%1", money);
    EXPECT_EQ(errno, 42);
    SetDestinations(*mRouter.GetDispatcher(), {});
    QzLog::Log(mRouter, "%1%2", money, [&] { return ++asked; });
    QzLog::Log(mRouter, 1u, money);
    EXPECT_EQ(asked, 1);
    EXPECT_THROW(QzLog::LogAndThrow(mRouter, "lost %1", money), QzBase::Message);
    EXPECT_THROW(QzLog::LogAndThrow(mRouter, 7, money), QzBase::Message);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(mDestination.TakeTexts(), "5 ct ");
}

TEST_F(LogCallTest, ScopesTraceNestedBlocksUnderTheirFunction)
{
    int const line = __LINE__;
    auto const trace = [&]
    {
        QZLOG_SCOPE(mRouter);
        {
            ScopeGuard guard(mRouter);
            guard.SetReturnCode(7);
        }
        return QZLOG_RETURN_CODE(ID::Done);
    };
    EXPECT_EQ(trace(), ID::Done);
    auto const at = [](int place) { return " 'operator()' near " __FILE__ "(" + std::to_string(place) + ") "; };
    EXPECT_EQ(mDestination.TakeTexts(), "Enter" + at(line + 3) + "Enter" + at(line + 5) + "Leave" + at(line + 6) +
                                            "with 0x00000007 Leave" + at(line + 8) + "with 0xFFFFFFFE ");
}
