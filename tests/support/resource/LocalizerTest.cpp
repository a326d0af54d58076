#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

using QzResource::RegisterMessageText;

namespace
{
    constexpr unsigned short kEnglish = 0x0409;
    constexpr unsigned short kGerman = 0x0407;
}

TEST(Localizer, FindsTextsByLanguageDomainAndID)
{
    auto const localizer = QzResource::GetLocalizer();
    RegisterMessageText(kEnglish, 7, -1, "English %1");
    RegisterMessageText(kGerman, 7, -1, "Deutsch %1");
    RegisterMessageText(kGerman, 7, 5, nullptr);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), kEnglish);
    QzResource::SetProcessLanguageID(kGerman);
    QzResource::SetProcessLanguageID(0);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), kGerman);
    RegisterMessageText(0, 8, 1, "of the process language");

    struct
    {
        unsigned short mLanguage;
        unsigned short mDomain;
        int mID;
        char const* mpExpected;
    } const cases[] = {{kEnglish, 7, -1, "English %1"}, {kGerman, 7, -1, "Deutsch %1"}, {0, 7, -1, "Deutsch %1"},
        {kGerman, 7, 5, ""}, {kGerman, 8, 1, "of the process language"}, {kEnglish, 8, 1, nullptr},
        {kEnglish, 7, 5, nullptr}, {kEnglish, 6, -1, nullptr}, {kEnglish, 7, 1, nullptr}};
    for (auto const& test : cases)
    {
        SCOPED_TRACE(testing::Message() << test.mLanguage << " " << test.mDomain << " " << test.mID);
        EXPECT_STREQ(localizer->FindText(test.mLanguage, test.mDomain, test.mID), test.mpExpected);
    }
    QzResource::SetProcessLanguageID(kEnglish);
}

TEST(Localizer, KeepsEarlierTextsAndStoresEachOnce)
{
    auto const localizer = QzResource::GetLocalizer();
    std::string const first = "a text that is too long to be stored in place";
    RegisterMessageText(kEnglish, 9, 1, first.c_str());
    char const* const kept = localizer->FindText(kEnglish, 9, 1);
    RegisterMessageText(kEnglish, 9, 1, "another one");
    EXPECT_EQ(kept, first);
    EXPECT_STREQ(localizer->FindText(kEnglish, 9, 1), "another one");
    RegisterMessageText(kGerman, 9, 2, first.c_str());
    EXPECT_EQ(localizer->FindText(kGerman, 9, 2), kept);
}

TEST(Localizer, IsReadWhileTextsAreRegistered)
{
    auto const localizer = QzResource::GetLocalizer();
    std::atomic<bool> done{false};
    RegisterMessageText(kEnglish, 10, 0, "0");
    std::thread reader(
        [&]
        {
            while (!done)
                ASSERT_STREQ(localizer->FindText(kEnglish, 10, 0), "0");
        });
    for (int i = 0; i < 2'000; ++i)
        RegisterMessageText(kEnglish, 10, i, std::to_string(i).c_str());
    done = true;
    reader.join();
    EXPECT_STREQ(localizer->FindText(kEnglish, 10, 1'999), "1999");
}
