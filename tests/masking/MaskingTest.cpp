#include "masking/SensitiveTags.h"
#include "support/ForkedChild.h"
#include "support/Texts.h"

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
}

// FuzzMasking compares both masks with a model; here is what a change of the code would most likely break.
TEST(Masking, ReplacesValues)
{
    ASSERT_STREQ("password", QzResource::REST_TAG_PASSWORD);
    EXPECT_EQ(R"({"password":"***"})", gMaskedByStaticObject);
    std::string const longName(700, 'n');
    struct
    {
        std::string mName; // of an attribute, or none for the body of a request
        std::string mText;
        std::string mMasked;
    } const rows[] = {{"pwd", R"(a pwd="x" b pwd="longer" PWD="x" xpwd="x" pwd="y)",
                          R"(a pwd="***" b pwd="***" PWD="x" xpwd="x" pwd="y)"},
        {"pwd", R"(a pwd="" pwd="x\"y")", R"(a pwd="***" pwd="***"y")"},
        {"pwd", "pwd=\"x\"\tpwd=\"x\"", "pwd=\"x\"\tpwd=\"x\""},
        {"\xC3\xA9", "a \xC3\xA9=\"\xE2\x82\xAC\" \xFF", "a \xC3\xA9=\"***\" \xFF"},
        {longName, " " + longName + "=\"x\" n" + longName + "=\"x\"",
            " " + longName + "=\"***\" n" + longName + "=\"x\""},
        {"", R"({"user":"u","password" : "x","password":"a\"b"})",
            R"({"user":"u","password" : "***","password":"***"})"},
        {"", R"({"password":"\"\"","b":"\""})", R"({"password":"***","b":"\""})"},
        {"", R"({"password":null,"name":"bob","Password":"x"})", R"({"password":null,"***":"bob","Password":"x"})"},
        {"", R"({"password":"x","password":"y)", R"({"password":"***","password":"y)"},
        {"", R"("password":)", R"("password":)"}};
    for (auto const& [name, text, masked] : rows)
    {
        if (name.empty())
        {
            EXPECT_EQ(masked, MaskHTTP(text));
            continue;
        }
        EXPECT_EQ(masked, ReplaceSensitiveMessage(text.c_str(), name.c_str(), "***").c_str());
        QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text.c_str(), false);
        EXPECT_EQ(masked, ReplaceSensitiveMessage(wide.c_str(), name.c_str(), "***").c_str());
    }
    EXPECT_STREQ(R"(a pwd="")", ReplaceSensitiveMessage(R"(a pwd="x")", "pwd", nullptr).c_str());
    EXPECT_STREQ("", ReplaceSensitiveMessage(static_cast<char const*>(nullptr), "pwd", "*").c_str());
    EXPECT_STREQ("", ReplaceSensitiveMessageInHTTP(nullptr).c_str());
    InitHTTPSensitiveTagVector();
    EXPECT_EQ(nullptr, gHTTPSensitiveTags.GetFirst()->mpNext) << "what is in the list is not added again";
}

// Each of these takes minutes if a search begins anew, or runs to the end of the text, for each value.
TEST(Masking, CostGrowsWithTheLengthAlone)
{
    auto const repeat = [](char const* piece) { return QzTest::Repeat(piece, 1'000'000); };
    std::string const quotes = repeat(R"(\")");
    std::string const tags = repeat(R"("password")");
    std::string const spaces = R"( a=")" + repeat(" a=");
    auto const isRight = [&]
    {
        return MaskHTTP(R"("password":"x" )" + quotes) == R"("password":"***" )" + quotes && MaskHTTP(tags) == tags &&
               MaskHTTP(repeat(R"("password":"\n")")) == repeat(R"("password":"***")") &&
               ReplaceSensitiveMessage(spaces.c_str(), "a", "*").c_str() == spaces;
    };
    ExpectInChild(isRight);
}
