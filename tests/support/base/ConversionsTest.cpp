#include <QzBase/Conversions.h>
#include <QzBase/System.h>

#include <gtest/gtest.h>

#include <climits>
#include <thread>

using namespace QzBase;
using namespace QzBase::Literals;

TEST(ConversionsTest, TextGoesBothWays)
{
    EXPECT_STREQ(WideCharToUTF8(u"\u00E4\U0001F600\xD800"_w, true).c_str(), "\xC3\xA4\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_STREQ(WideCharToUTF8(UTF8ToWideChar("a\xFF", false).c_str(), false).c_str(), "a\xFF");
    EXPECT_STREQ(WideCharToASCII(u"a\u00E4\U0001F600\xD800z\xDC00"_w, false).c_str(), "a???z?");
    EXPECT_EQ(UTF8ToWideChar(nullptr, true).size(), 0u);
    EXPECT_EQ(WideCharToUTF8(nullptr, false).size() + WideCharToASCII(nullptr, true).size(), 0u);
}

TEST(ConversionsTest, NumbersAreRead)
{
    // Text, as decimal number, as hexadecimal one, as one with a prefix perhaps.
    std::tuple<char const*, int, unsigned int, unsigned int> const rows[] = {{nullptr, 0, 0, 0}, {" \t-7", -7, 0, 0},
        {"+-8", 0, 0, 0}, {"2147483648", INT_MIN, 0x47483648, 0x47483648}, {"0xaBc", 0, 0, 0xABC}, {"0x", 0, 0, 0},
        {"1DEADBEEFg", 1, 0xDEADBEEF, 0xDEADBEEF}};
    for (auto const& [text, decimal, hex, hexWithPrefix] : rows)
    {
        SCOPED_TRACE(text ? text : "null");
        EXPECT_EQ(DecimalToInt(text), decimal);
        EXPECT_EQ(HexToUnsignedInt(text, false), hex);
        EXPECT_EQ(HexToUnsignedInt(text, true), hexWithPrefix);
    }
}

TEST(ConversionsTest, GUIDsHaveTheirTextForm)
{
    GUID guid;
    static_cast<_GUID&>(guid) = {0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
    EXPECT_EQ(WideString(guid.ToWString().c_str()), u"01234567-89AB-CDEF-0123-456789ABCDEF"_w);
    CreateGUID(guid);
    EXPECT_EQ(guid.ToWString().c_str()[14], '4') << "not the version that tells random identifiers";
}

TEST(ConversionsTest, BufferKeepsItsPiecesApart)
{
    Buffer buffer;
    std::vector<WideString> texts;
    for (unsigned short i = 0; i < 200; ++i)
        texts.emplace_back(i % 40 == 39 ? 9000u : i, i, Allocator<unsigned short>(&buffer));
    for (unsigned short i = 0; i < 200; ++i)
        EXPECT_EQ(texts[i].find_first_not_of(i), WideString::npos);
    // The first one fills its block up to where the next one would have to begin, or beyond.
    for (std::size_t const size : {4090u, 4097u})
    {
        auto const first = reinterpret_cast<std::uintptr_t>(buffer.Allocate(size, 16));
        auto const second = reinterpret_cast<std::uintptr_t>(buffer.Allocate(6, 8));
        EXPECT_TRUE(first % 16 == 0 && second % 8 == 0);
        EXPECT_NE(second, (first + size + 7) / 8 * 8);
    }
    EXPECT_THROW(buffer.Allocate(static_cast<std::size_t>(-1), 1), std::bad_alloc);
}

TEST(FeaturesTest, SwitchesOfManyThreadsAllCount)
{
    auto const switchAll = [](unsigned short thread)
    {
        for (unsigned short name = 1; name <= 2'000; ++name)
        {
            unsigned short const text[] = {thread, name, 0};
            SetFeatureEnabled(text, true);
            EXPECT_TRUE(IsFeatureEnabled(text));
        }
    };
    std::thread other(switchAll, 'T');
    switchAll('S');
    other.join();
    SetFeatureEnabled(u"S\x0001"_w, false);
    EXPECT_FALSE(IsFeatureEnabled(u"S\x0001"_w) || IsFeatureEnabled(u"S"_w));
    EXPECT_TRUE(IsFeatureEnabled(u"S\x0002"_w));
}
