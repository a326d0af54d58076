#include <QzResource/MessageFormatter.h>

#include <gtest/gtest.h>

#include <climits>
#include <thread>

using QzResource::GetMessageFormatter;
using QzResource::GetMessageTemplate;
using QzResource::MessageFormat;
using QzResource::MessageFormatter;

TEST(MessageFormatter, PutsValuesIntoTheTemplate)
{
    std::string const long1(1 << 20, 'x');
    std::vector<std::string> const twelve{"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"};
    std::tuple<char const*, std::vector<std::string>, std::string> const rows[] = {{nullptr, {"a"}, ""},
        {"plain", {"surplus"}, "plain"}, {"'%1' near %2(%1)", {"f", "g"}, "'f' near g(f)"},
        {"%1 %2", {"%2", "%1"}, "%2 %1"}, {"%10%1%12", twelve, "jal"}, {"%10", {"a"}, "%10"},
        {"%0 %01 %x % %", {"a"}, "%0 %01 %x % %"}, {"100%% %%1 %%%1", {"a"}, "100% %1 %a"},
        {"%1|%2", {long1, long1}, long1 + "|" + long1}};
    for (auto const& [text, values, expected] : rows)
    {
        MessageFormatter& formatter = GetMessageFormatter();
        for (std::string const& value : values)
            formatter << value;
        EXPECT_EQ(formatter.Format(GetMessageTemplate(text)), expected);
        EXPECT_STREQ(formatter.Format(GetMessageTemplate("%1")), "%1") << "formatting empties it";
    }
    unsigned short const unpaired[] = {'a', 0xD800, 'b', 0};
    EXPECT_STREQ((GetMessageFormatter() << unpaired).Format(GetMessageTemplate("%1")), "a\xEF\xBF\xBD"
                                                                                       "b");
}

namespace
{
    template <class Number>
    void ExpectForms(Number value, char const* decimal, char const* hexadecimal, char const* wideHexadecimal)
    {
        SCOPED_TRACE(decimal);
        MessageFormatter& formatter = GetMessageFormatter();
        formatter << value << MessageFormat::Hex << value << MessageFormat::WideHex << value << MessageFormat::Dec
                  << value;
        std::string const expected = std::string(decimal) + " " + hexadecimal + " " + wideHexadecimal + " " + decimal;
        EXPECT_EQ(formatter.Format(GetMessageTemplate("%1 %2 %3 %4")), expected);
    }
}

TEST(MessageFormatter, WritesNumbersInTheFormsOfTheirWidth)
{
    ExpectForms(static_cast<signed char>(-128), "-128", "80", "0x00000080");
    ExpectForms(static_cast<unsigned short>(65535), "65535", "FFFF", "0x0000FFFF");
    ExpectForms(0x12ABCDEFu, "313249263", "12ABCDEF", "0x12ABCDEF");
    ExpectForms(LONG_MIN, "-9223372036854775808", "8000000000000000", "0x8000000000000000");
    ExpectForms(ULONG_MAX, "18446744073709551615", "FFFFFFFFFFFFFFFF", "0xFFFFFFFFFFFFFFFF");

    MessageFormatter& formatter = GetMessageFormatter();
    formatter << 0.1 << 40.0 << 1e300 << -0.0 << 1.0f / 3;
    EXPECT_STREQ(formatter.Format(GetMessageTemplate("%1 %2 %3 %4 %5")), "0.1 40 1e+300 -0 0.3333333432674408");
}

TEST(MessageFormatter, IsOnesOwnUntilItIsFormatted)
{
    MessageFormatter& justTaken = GetMessageFormatter();
    MessageFormatter& filledAgain = GetMessageFormatter();
    filledAgain.Format(GetMessageTemplate(""));
    MessageFormatter* const kept[] = {&(GetMessageFormatter() << "first"),
        &(GetMessageFormatter() << MessageFormat::Hex), &(filledAgain << "again"), &justTaken};
    std::set<MessageFormatter*> formatters(std::begin(kept), std::end(kept));
    for (int line = 0; line < 100; ++line)
    {
        char const* const text = (GetMessageFormatter() << "text" << line).Format(GetMessageTemplate("%1 %2"));
        for (int nested = 0; nested < 16; ++nested)
            (GetMessageFormatter() << nested).Format(GetMessageTemplate("nested %1"));
        ASSERT_EQ(text, "text " + std::to_string(line));
    }
    // Not formatted either, by calls that log nothing: only too many of them get a formatter that is in use.
    for (int i = 0; i < 12; ++i)
        EXPECT_TRUE(formatters.insert(&(GetMessageFormatter() << MessageFormat::Hex << "left behind")).second);
    std::string texts;
    for (MessageFormatter* const formatter : kept)
        texts += (*formatter << 16).Format(GetMessageTemplate("%1 %2, "));
    EXPECT_EQ(texts, "first 16, 10 %2, again 16, 16 %2, ");

    for (int i = 0; i < 64; ++i)
    {
        EXPECT_EQ(GetMessageFormatter().GetValueCount(), 0u);
        GetMessageFormatter() << MessageFormat::Hex << "left behind";
    }
    EXPECT_STREQ((GetMessageFormatter() << 16).Format(GetMessageTemplate("%1 %2")), "16 %2");
    std::thread([&] { EXPECT_FALSE(formatters.contains(&GetMessageFormatter())); }).join();
}
