#include <QzLogKit/Clean.h>

#include <gtest/gtest.h>

using namespace std::string_view_literals;

TEST(Clean, ShowsWhatWouldPassForSomethingElse)
{
    struct
    {
        std::string_view mText;
        std::string_view mInMessage;
        std::string_view mInField;
    } const cases[] = {
        {"", "", ""},
        {"alice [UID:\t0]", "alice [UID:\t0]", "alice [UID:␉0］"},
        {"a\r\nb\0\x1B[2J\x7F"sv, "a␍␊b␀␛[2J␡", "a␍␊b␀␛[2J␡"},
        {"gr\u00FC\u00DFe \u0085\u009F\u00A0\u2028\u2029\U0001F600",
            "gr\u00FC\u00DFe \uFFFD\uFFFD\u00A0\uFFFD\uFFFD\U0001F600",
            "gr\u00FC\u00DFe \uFFFD\uFFFD\u00A0\uFFFD\uFFFD\U0001F600"},
        // A line end in three bytes, half a character before the end.
        {"a\xE0\x80\x8A", "a\uFFFD", "a\uFFFD"},
        {"a\n\xE2\x82", "a␊\uFFFD", "a␊\uFFFD"},
    };
    for (auto const& [text, inMessage, inField] : cases)
    {
        EXPECT_EQ(QzLogKit::Clean(text), inMessage);
        EXPECT_EQ(QzLogKit::CleanField(text), inField);
    }
}
