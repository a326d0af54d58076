#include "os/Unicode.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
    using namespace QzOs;

    using Units = std::u16string;

    std::basic_string<unsigned short> Widen(std::string const& bytes, Malformed malformed)
    {
        std::basic_string<unsigned short> units;
        AppendWide(units, bytes.data(), bytes.size(), malformed);
        return units;
    }

    Units ToUnits(std::basic_string<unsigned short> const& text)
    {
        return Units(text.begin(), text.end());
    }

    std::string Narrow(std::basic_string<unsigned short> const& units, Malformed malformed)
    {
        std::string bytes;
        AppendUTF8(bytes, units.data(), units.size(), malformed);
        return bytes;
    }

    TEST(UnicodeTest, BytesBecomeUnits)
    {
        struct
        {
            char const* mName;
            std::string mBytes;
            Units mReplaced;
            Units mKept;
        } const cases[] = {
            {"long ASCII", "0123456789abcdefg", u"0123456789abcdefg", u"0123456789abcdefg"},
            {"every length", "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80Z", u"A\u00E4\u20AC\U0001F600Z",
                u"A\u00E4\u20AC\U0001F600Z"},
            {"mark and noncharacters", "\xEF\xBB\xBF\xEF\xBF\xBF", u"\uFEFF\uFFFF", u"\uFEFF\uFFFF"},
            {"lone continuation bytes", "\x80\xBF", u"\uFFFD\uFFFD", u"\xDC80\xDCBF"},
            {"piece cut by ASCII", "\xE2\x82x", u"\uFFFDx", u"\xDCE2\xDC82x"},
            {"piece cut by the end", "\xF0\x9F\x98", u"\uFFFD", u"\xDCF0\xDC9F\xDC98"},
            {"piece cut by a lead byte", "\xE2\xC3\xA4", u"\uFFFD\u00E4", u"\xDCE2\u00E4"},
            {"overlong", "\xC0\xAF\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", u"\xDCC0\xDCAF\xDCE0\xDC80\xDC80"},
            {"surrogate pair", "\xED\xA0\x80\xED\xB0\x80", Units(6, 0xFFFD), u"\xDCED\xDCA0\xDC80\xDCED\xDCB0\xDC80"},
            {"beyond the last", "\xF4\x90\x80\x80", Units(4, 0xFFFD), u"\xDCF4\xDC90\xDC80\xDC80"},
            {"never a byte", "\xFF\xFE", u"\uFFFD\uFFFD", u"\xDCFF\xDCFE"},
            {"zero inside", std::string("a\0b", 3), Units(u"a\0b", 3), Units(u"a\0b", 3)},
        };
        for (auto const& test : cases)
        {
            SCOPED_TRACE(test.mName);
            EXPECT_EQ(ToUnits(Widen(test.mBytes, Malformed::Replace)), test.mReplaced);
            EXPECT_EQ(ToUnits(Widen(test.mBytes, Malformed::Keep)), test.mKept);
            EXPECT_EQ(Narrow(Widen(test.mBytes, Malformed::Keep), Malformed::Keep), test.mBytes);
        }
    }

    TEST(UnicodeTest, UnitsBecomeBytes)
    {
        struct
        {
            char const* mName;
            Units mUnits;
            std::string mReplaced;
            std::string mKept;
            bool mIsExact;
        } const cases[] = {
            {"every length", u"A\u00E4\u20AC\U0001F600", "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
                "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", true},
            {"first and last pair", u"\xD800\xDC00\xDBFF\xDFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
                "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true},
            {"bytes", u"\xDC80\xDCFF", "\xEF\xBF\xBD\xEF\xBF\xBD", "\x80\xFF", true},
            {"beside the bytes", u"\xDC7F\xDD00", "\xEF\xBF\xBD\xEF\xBF\xBD", "\xED\xB1\xBF\xED\xB4\x80", false},
            {"high one at the end", u"a\xD800", "a\xEF\xBF\xBD", "a\xED\xA0\x80", false},
            {"high one before a pair", u"\xD800\xD800\xDC00", "\xEF\xBF\xBD\xF0\x90\x80\x80",
                "\xED\xA0\x80\xF0\x90\x80\x80", false},
        };
        for (auto const& test : cases)
        {
            SCOPED_TRACE(test.mName);
            std::basic_string<unsigned short> const units(test.mUnits.begin(), test.mUnits.end());
            EXPECT_EQ(Narrow(units, Malformed::Replace), test.mReplaced);
            bool isExact = true;
            std::string bytes(units.size() * kUTF8BytesPerUnit, '\0');
            bytes.resize(EncodeUTF8(bytes.data(), units.data(), units.size(), Malformed::Keep, &isExact));
            EXPECT_EQ(bytes, test.mKept);
            EXPECT_EQ(isExact, test.mIsExact);
        }
    }

    TEST(UnicodeTest, AnyBytesComeBackAndReplacedTextIsWellFormed)
    {
        unsigned int const seed = std::random_device()();
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        // The ends of every range that matters to well-formedness.
        unsigned char const edges[] = {'a', 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xE1,
            0xED, 0xEF, 0xF0, 0xF1, 0xF4, 0xF5, 0xFF};
        for (int round = 0; round < 20'000; ++round)
        {
            std::string bytes(random() % 24, '\0');
            for (char& byte : bytes)
                byte = static_cast<char>(random() % 4 ? edges[random() % std::size(edges)] : random() % 256);

            ASSERT_EQ(Narrow(Widen(bytes, Malformed::Keep), Malformed::Keep), bytes);

            // Well-formed text reads the same in both ways.
            auto const replaced = Widen(bytes, Malformed::Replace);
            std::string const clean = Narrow(replaced, Malformed::Replace);
            ASSERT_EQ(Widen(clean, Malformed::Keep), replaced);
            ASSERT_EQ(Narrow(replaced, Malformed::Keep), clean);
        }
    }
}
