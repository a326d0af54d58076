#include "support/base/ProcessLanguage.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <gtest/gtest.h>

namespace
{
    using namespace QzBase;
    using namespace QzBase::Literals;

    std::string TextOf(Message const& message)
    {
        return WideCharToUTF8(message.GetMessage(), true).c_str();
    }

    Message Make(int id, char const* text)
    {
        return Message(MESSAGE_DOMAIN_SERVER, id, text);
    }

    TEST(MessageTest, ArgumentsFillTheText)
    {
        // Template, number of arguments, text.
        std::tuple<char const*, int, char const*> const rows[] = {{"100%% of %1", 0, "100%% of %1"},
            {"100%% of %1", 1, "100% of a1"}, {"%2%1%2 %3", 2, "a2a1a2 %3"}, {"%10%100%011", 10, "a10a100%011"}};
        for (auto const& [text, count, expected] : rows)
        {
            Message message = Make(1, text);
            for (int i = 1; i <= count; ++i)
                message << std::string("a").append(std::to_string(i)).c_str();
            EXPECT_EQ(TextOf(message), expected);
        }
        Message message = Make(1, "%1 %2 %3 %4 %5 %6 %7");
        message << -1 << 2u << -3l << 4ul << u"%1"_w << static_cast<unsigned short const*>(nullptr) << INT64_MIN;
        EXPECT_EQ(TextOf(message), "-1 2 -3 4 %1  -9223372036854775808");
        EXPECT_EQ(TextOf(Message(MESSAGE_DOMAIN_WIN32_API, 2, nullptr)), "No such file or directory");
    }

    TEST(MessageTest, WrappingAndPrependingStackLevels)
    {
        Message message;
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 3, "cause of %1") << "it";
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "cause of it");
        message.WrapBy(MESSAGE_DOMAIN_WIN32_API, -4, "front");
        message.PrependBy(Make(5, "").WrapBy(MESSAGE_DOMAIN_SERVER, 6, "new front"));
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "new front\r\nfront\r\ncause of it");
        message.PrependBy(message);
        EXPECT_STREQ(FormatMessage(message, 9).c_str(),
            "new front\r\nfront\r\ncause of it\r\nnew front\r\nfront\r\ncause of it");
    }

    TEST(MessageTest, TakesTheValueOfOneOfItsOwnCauses)
    {
        // A cause with two of its own, and another one beside it.
        Message message = Make(3, "the second cause of the first cause");
        message.PrependBy(Make(2, "2").WrapBy(MESSAGE_DOMAIN_SERVER, 1, "1"));
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 0, "0");
        message.PrependBy(message);
        Message moved = message;
        MessageCursor cursor(message);
        MessageCursor cursorOfMoved(moved);
        EXPECT_TRUE(cursor.GoToLowerLevelMessage(false) && cursorOfMoved.GoToLowerLevelMessage(false));
        message = cursor.GetCurrentMessage();
        moved = std::move(cursorOfMoved.GetCurrentMessage());
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "1\r\n2\r\nthe second cause of the first cause");
        EXPECT_STREQ(FormatMessage(moved, 9).c_str(), FormatMessage(message, 9).c_str());
    }

    struct FakeLocalizer : Message::Localizer
    {
        char const* FindText(unsigned short languageID, unsigned short, int id) override
        {
            mLanguages[languageID] += 1;
            return id == 2 ? "zwei: %1" : nullptr;
        }

        std::map<unsigned short, int> mLanguages;
    };

    TEST(MessageTest, LocalizerFillsTheLevelsThatLackAText)
    {
        Message message = Make(1, "one");
        message.SetLocalizedText(0, "eins");
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 2, "two") << 22;
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 3, "three");

        FakeLocalizer localizer;
        Message copy;
        EXPECT_STREQ(FormatMessage(message, copy, 0, localizer).c_str(), "three\r\nzwei: 22\r\neins");
        EXPECT_EQ(localizer.mLanguages, (std::map<unsigned short, int>{{GetProcessLanguage(), 2}}));
        EXPECT_STREQ(FormatMessage(message, 0).c_str(), "three\r\ntwo\r\neins");
        EXPECT_STREQ(FormatMessage(copy, 0x0407).c_str(), "three\r\ntwo\r\none");
    }

    TEST(MessageCursorTest, MovesOnlyWhereThereIsALevel)
    {
        // 1 with the causes 2 and 3.
        Message message = Make(3, "");
        message.PrependBy(Make(2, "").WrapBy(MESSAGE_DOMAIN_SERVER, 1, ""));
        ConstMessageCursor cursor(message);
        EXPECT_FALSE(cursor.GoToSameLevelMessage(false) || cursor.GoToParent());
        EXPECT_TRUE(cursor.GoToLowerLevelMessage(false) && cursor.GoToSameLevelMessage(false));
        EXPECT_FALSE(cursor.GoToSameLevelMessage(false));
        EXPECT_EQ(cursor.GetCurrentMessage().GetID(), 3);

        // A cursor that follows stays in step where its tree has nothing; what is written there reaches nobody else.
        for (int i = 0; i < 2; ++i)
        {
            MessageCursor lost(message);
            EXPECT_TRUE(lost.GoToLowerLevelMessage(true));
            EXPECT_FALSE(lost.GoToLowerLevelMessage(true) || lost.GoToSameLevelMessage(true));
            EXPECT_EQ(TextOf(lost.GetCurrentMessage()), "");
            lost.GetCurrentMessage().SetMessage(u"written"_w);
            EXPECT_TRUE(lost.GoToParent() && lost.GoToParent() && lost.GoToSameLevelMessage(true));
            EXPECT_EQ(lost.GetCurrentMessage().GetID(), 3);
            EXPECT_FALSE(lost.GoToSameLevelMessage(true));
        }
    }
}
