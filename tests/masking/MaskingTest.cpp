#include "masking/SensitiveTags.h"
#include "support/ForkedChild.h"

#include <QzLog/Masking.h>

#include <QzBase/Conversions.h>
#include <QzResource/Localizer.h>

namespace
{
    using namespace QzLog;

    std::string MaskHTTP(std::string const& text)
    {
        return ReplaceSensitiveMessageInHTTP(text.c_str()).c_str();
    }

    // Masks before main and before anything else of the library is used.
    std::string const gMaskedByStaticObject = MaskHTTP(R"({"password":"x"})");

    std::string Repeat(std::string const& piece)
    {
        std::string result;
        for (int count = 0; count < 1'000'000; ++count)
            result += piece;
        return result;
    }
}

TEST(Masking, AttributeValues)
{
    std::string const longName(700, 'n');
    struct
    {
        std::string mText;
        std::string mExpected; // empty: as it was
        char const* mpName = "pwd";
        char const* mpMask = "***";
    } const rows[] = {{R"(a pwd="x" b pwd="longer" c)", R"(a pwd="***" b pwd="***" c)"},
        {R"(a pwd="")", R"(a pwd="***")"}, {R"(a pwd="x\"y")", R"(a pwd="***"y")"},
        {R"(a pwd=" pwd="x")", R"(a pwd="***"x")"}, {R"(a pwd="x" b pwd="y)", R"(a pwd="***" b pwd="y)"},
        {R"(pwd="x")", ""}, {"a\npwd=\"x\"\tpwd=\"x\"", ""}, {R"(a pwd ="x" PWD="x" xpwd="x" pwd= "x")", ""},
        {R"(a pwd=")", ""}, {"", ""}, {R"(a pwd="x" b)", R"(a pwd="" b)", "pwd", nullptr},
        {R"(a pwd="x" pwd="y")", R"(a pwd=" pwd="z"" pwd=" pwd="z"")", "pwd", R"( pwd="z")"},
        {R"(a ="x")", R"(a ="***")", ""}, {R"(xxx ="a="x")", R"(xxx ="a="***")", R"(="a)"},
        {"a \xC3\xA9=\"\xE2\x82\xAC\" \xFF", "a \xC3\xA9=\"***\" \xFF", "\xC3\xA9"},
        {" " + longName + "=\"x\" n" + longName + "=\"x\"", " " + longName + "=\"***\" n" + longName + "=\"x\"",
            longName.c_str()}};
    for (auto const& [text, expected, name, mask] : rows)
    {
        std::string const& masked = expected.empty() ? text : expected;
        EXPECT_EQ(masked, ReplaceSensitiveMessage(text.c_str(), name, mask).c_str());
        QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text.c_str(), false);
        EXPECT_EQ(masked, ReplaceSensitiveMessage(wide.c_str(), name, mask).c_str());
    }
    EXPECT_STREQ("", ReplaceSensitiveMessage(static_cast<char const*>(nullptr), "pwd", "*").c_str());
}

TEST(Masking, PasswordsInHTTP)
{
    ASSERT_STREQ("password", QzResource::REST_TAG_PASSWORD);
    EXPECT_EQ(R"({"password":"***"})", gMaskedByStaticObject);
    // Text, and what becomes of it if that is another one.
    std::pair<std::string, std::string> const rows[] = {
        {R"({"user":"u","password" : "x"})", R"({"user":"u","password" : "***"})"},
        {R"({"password":"a\"b"})", R"({"password":"***"})"}, {R"({"password":""})", R"({"password":"***"})"},
        {R"({"password":"\"\"","b":"\""})", R"({"password":"***","b":"\""})"},
        {R"({"password":"x","password":"y)", R"({"password":"***","password":"y)"},
        {R"("password":"x"password":"y")", R"("password":"***"password":"y")"},
        {R"({"key":"password","v":"x"})", R"({"key":"password","v":"***"})"},
        {R"({"password":null,"name":"bob"})", R"({"password":null,"***":"bob"})"}, {R"({"Password":"x","a":"b"})", ""},
        {R"({"grant_type":"password","n":1,"password":"x"})", R"({"grant_type":"password","n":1,"***":"x"})"},
        {R"({"password":{"v":"x"}})", R"({"password":{"***":"x"}})"}, {R"({"pass\u0077ord":"x","password":1})", ""},
        {R"({"password":"a\\"})", ""}, {R"("password")", ""}, {R"("password":)", ""}, {R"("password":")", ""},
        {R"("password":"\)", ""}, {"", ""}};
    for (auto const& [text, expected] : rows)
        EXPECT_EQ(expected.empty() ? text : expected, MaskHTTP(text));
    InitHTTPSensitiveTagVector();
    EXPECT_EQ(nullptr, gHTTPSensitiveTags.GetFirst()->mpNext) << "what is in the list is not added again";
    EXPECT_STREQ("", ReplaceSensitiveMessageInHTTP(nullptr).c_str());
}

// Each of these takes minutes if a search begins anew, or runs to the end of the text, for each value.
TEST(Masking, CostGrowsWithTheLengthAlone)
{
    std::string const quotes = Repeat(R"(\")");
    std::string const tags = Repeat(R"("password")");
    std::string const spaces = R"( a=")" + Repeat(" a=");
    auto const isRight = [&]
    {
        return MaskHTTP(R"("password":"x" )" + quotes) == R"("password":"***" )" + quotes && MaskHTTP(tags) == tags &&
               MaskHTTP(Repeat(R"("password":"\n")")) == Repeat(R"("password":"***")") &&
               ReplaceSensitiveMessage(spaces.c_str(), "a", "*").c_str() == spaces;
    };
    ExpectInChild(isRight);
}
