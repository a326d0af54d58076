#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

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

    std::tuple<unsigned short, unsigned short, int, char const*> const rows[] = {{kEnglish, 7, -1, "English %1"},
        {kGerman, 7, -1, "Deutsch %1"}, {0, 7, -1, "Deutsch %1"}, {kGerman, 7, 5, ""},
        {kGerman, 8, 1, "of the process language"}, {kEnglish, 8, 1, nullptr}, {kEnglish, 6, -1, nullptr},
        {kEnglish, 7, 1, nullptr}};
    for (auto const& [language, domain, id, text] : rows)
        EXPECT_STREQ(localizer->FindText(language, domain, id), text) << language << ' ' << domain << ' ' << id;
    QzResource::SetProcessLanguageID(kEnglish);
}

TEST(Localizer, KeepsEarlierTextsAndStoresEachOnceWhileItIsRead)
{
    auto const localizer = QzResource::GetLocalizer();
    std::string const first = "a text that is too long to be stored in place";
    RegisterMessageText(kEnglish, 9, 0, first.c_str());
    char const* const kept = localizer->FindText(kEnglish, 9, 0);
    RegisterMessageText(kEnglish, 9, 0, "another one");

    std::jthread const reader(
        [&](std::stop_token const& stop)
        {
            while (!stop.stop_requested())
                ASSERT_STREQ(localizer->FindText(kEnglish, 9, 0), "another one");
        });
    for (int i = 1; i < 2'000; ++i)
        RegisterMessageText(kEnglish, 9, i, std::to_string(i).c_str());
    RegisterMessageText(kEnglish, 9, 1, first.c_str());
    EXPECT_EQ(kept, first);
    EXPECT_EQ(localizer->FindText(kEnglish, 9, 1), kept);
    EXPECT_STREQ(localizer->FindText(kEnglish, 9, 1'999), "1999");
}
