#include "os/Unicode.h"

#include <gtest/gtest.h>

namespace
{
    using namespace QzOs;

    using Units = std::u16string;

    Units Widen(std::string const& bytes, Malformed malformed)
    {
        std::basic_string<unsigned short> units;
        AppendWide(units, bytes.data(), bytes.size(), malformed);
        return Units(units.begin(), units.end());
    }

    std::string Narrow(Units const& text, Malformed malformed, bool* isExact = nullptr)
    {
        std::basic_string<unsigned short> const units(text.begin(), text.end());
        std::string appended = "x";
        AppendUTF8(appended, units.data(), units.size(), malformed);
        std::string bytes(units.size() * kUTF8BytesPerUnit, '\0');
        bytes.resize(EncodeUTF8(bytes.data(), units.data(), units.size(), malformed, isExact));
        EXPECT_EQ(appended, 'x' + bytes);
        return bytes;
    }

    TEST(UnicodeTest, BytesBecomeUnitsAndBytesAgain)
    {
        // Bytes, units with what is malformed replaced, units that keep it where these are others.
        std::tuple<std::string, Units, Units> const rows[] = {{"0123456789abcdefg", u"0123456789abcdefg", u""},
            {"A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80Z", u"A\u00E4\u20AC\U0001F600Z", u""},
            {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF", u""},
            {"abcdefghijklmno\xC3\xA4", u"abcdefghijklmno\u00E4", u""},
            {std::string("a\0b", 3), Units(u"a\0b", 3), u""},
            // Lone continuation bytes; pieces cut by ASCII, by the end and by a lead byte.
            {"\xBF", u"\uFFFD", u"\xDCBF"}, {"\xE2\x82x", u"\uFFFDx", u"\xDCE2\xDC82x"},
            {"\xF0\x9F\x98", u"\uFFFD", u"\xDCF0\xDC9F\xDC98"}, {"\xE2\xC3\xA4", u"\uFFFD\u00E4", u"\xDCE2\u00E4"},
            {"\xF0\x9F\xC3\xA4", u"\uFFFD\u00E4", u"\xDCF0\xDC9F\u00E4"},
            // Overlong forms, a surrogate pair, and beyond the last character.
            {"\xC0\xAF\xE0\x80\x80", Units(5, 0xFFFD), u"\xDCC0\xDCAF\xDCE0\xDC80\xDC80"},
            {"\xED\xA0\x80\xED\xB0\x80", Units(6, 0xFFFD), u"\xDCED\xDCA0\xDC80\xDCED\xDCB0\xDC80"},
            {"\xF4\x90\x80\x80", Units(4, 0xFFFD), u"\xDCF4\xDC90\xDC80\xDC80"}};
        for (auto const& [bytes, replaced, differing] : rows)
        {
            SCOPED_TRACE(testing::PrintToString(bytes));
            Units const& kept = differing.empty() ? replaced : differing;
            EXPECT_EQ(Widen(bytes, Malformed::Replace), replaced);
            EXPECT_EQ(Widen(bytes, Malformed::Keep), kept);
            EXPECT_EQ(Narrow(kept, Malformed::Keep), bytes);
        }
    }

    TEST(UnicodeTest, MalformedBytesTakeTimeInProportionOnly)
    {
        // By the square of its length, either text would take minutes.
        constexpr std::size_t kLength = 1 << 20;
        EXPECT_TRUE(Widen(std::string(kLength, '\xFF'), Malformed::Replace) == Units(kLength, 0xFFFD));
        EXPECT_TRUE(Widen(std::string(kLength, '\xE4'), Malformed::Keep) == Units(kLength, 0xDCE4));
    }

    TEST(UnicodeTest, LoneSurrogatesBecomeBytes)
    {
        // Units, bytes with the surrogates replaced, bytes that keep them, whether these say it exactly.
        std::tuple<Units, std::string, std::string, bool> const rows[] = {
            {u"\xDC80\xDCFF", "\xEF\xBF\xBD\xEF\xBF\xBD", "\x80\xFF", true},
            {u"\xDC7F\xDD00", "\xEF\xBF\xBD\xEF\xBF\xBD", "\xED\xB1\xBF\xED\xB4\x80", false},
            {u"a\xD800", "a\xEF\xBF\xBD", "a\xED\xA0\x80", false},
            {u"\xD800\xD800\xDC00", "\xEF\xBF\xBD\xF0\x90\x80\x80", "\xED\xA0\x80\xF0\x90\x80\x80", false}};
        for (auto const& [units, replaced, kept, exact] : rows)
        {
            bool isExact = true;
            EXPECT_EQ(Narrow(units, Malformed::Replace), replaced);
            EXPECT_EQ(Narrow(units, Malformed::Keep, &isExact), kept);
            EXPECT_EQ(isExact, exact) << testing::PrintToString(kept);
        }
        // What follows the end is no second half.
        unsigned short const pair[] = {0xD800, 0xDC00};
        char bytes[kUTF8BytesPerUnit];
        EXPECT_EQ(EncodeUTF8(bytes, pair, 1, Malformed::Replace, nullptr), 3u);
    }
}
