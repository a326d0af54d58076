#include "support/base/ProcessLanguage.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <gtest/gtest.h>

#include <map>
#include <vector>

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
        struct
        {
            char const* mTemplate;
            int mCount;
            char const* mExpected;
        } const cases[] = {
            {"100%% of %1", 0, "100%% of %1"},
            {"100%% of %1", 1, "100% of a1"},
            {"%2%1%2", 2, "a2a1a2"},
            {"%1 %3", 2, "a1 %3"},
            {"%10 %1", 9, "%10 a1"},
            {"%10%100%011", 10, "a10a100%011"},
            {"%12", 12, "a12"},
            {"%0 %x % 50%", 1, "%0 %x % 50%"},
            {"%%1 %%%1", 1, "%1 %a1"},
            {"", 1, ""},
        };
        for (auto const& test : cases)
        {
            SCOPED_TRACE(test.mTemplate);
            Message message = Make(1, test.mTemplate);
            for (int i = 1; i <= test.mCount; ++i)
                message << std::string("a").append(std::to_string(i)).c_str();
            EXPECT_EQ(TextOf(message), test.mExpected);
            // The same holds for a text in another language, which is UTF-8.
            Message other = message;
            other.SetMessage(u"other"_w);
            other.SetLocalizedText(7, test.mTemplate);
            EXPECT_STREQ(FormatMessage(other, 7).c_str(), test.mExpected);
        }

        Message message = Make(1, "%1 %2 %3 %4 %5 %6 %7");
        message << -1 << 2u << -3l << 4ul << u"%1"_w << static_cast<unsigned short const*>(nullptr) << INT64_MIN;
        EXPECT_EQ(TextOf(message), "-1 2 -3 4 %1  -9223372036854775808");
        message.SetMessage(u"%1"_w);
        EXPECT_EQ(TextOf(message), "-1");
        EXPECT_EQ(TextOf(Message(MESSAGE_DOMAIN_WIN32_API, 2, nullptr)), "No such file or directory");
        EXPECT_EQ(TextOf(Message(MESSAGE_DOMAIN_SERVER, 2, nullptr)), "");
    }

    TEST(MessageTest, WrappingAndPrependingStackLevels)
    {
        Message message;
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 3, "cause of %1") << "it";
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "cause of it");
        message.WrapBy(MESSAGE_DOMAIN_WIN32_API, -4, "middle");
        EXPECT_EQ(message.GetID(), -4);
        EXPECT_EQ(message.GetDomain(), MESSAGE_DOMAIN_WIN32_API);

        Message front = Make(5, "front");
        front.WrapBy(MESSAGE_DOMAIN_SERVER, 6, "new front");
        message.PrependBy(front);
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "new front\nfront\nmiddle\ncause of it");
        message.PrependBy(message);
        EXPECT_STREQ(FormatMessage(message, 9).c_str(),
            "new front\nfront\nmiddle\ncause of it\nnew front\nfront\nmiddle\ncause of it");

        Message empty;
        empty.PrependBy(Make(1, "alone"));
        EXPECT_STREQ(FormatMessage(empty, 9).c_str(), "alone");
        Message silent = Make(1, "below");
        silent.WrapBy(MESSAGE_DOMAIN_SERVER, 2, "");
        EXPECT_STREQ(FormatMessage(silent, 9).c_str(), "below");
    }

    class FakeLocalizer : public Message::Localizer
    {
    public:
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
        EXPECT_STREQ(FormatMessage(message, copy, 0, localizer).c_str(), "three\nzwei: 22\neins");
        EXPECT_EQ(localizer.mLanguages, (std::map<unsigned short, int>{{GetProcessLanguage(), 2}}));
        EXPECT_STREQ(FormatMessage(copy, GetProcessLanguage()).c_str(), "three\nzwei: 22\neins");
        EXPECT_STREQ(FormatMessage(message, 0).c_str(), "three\ntwo\neins");
        EXPECT_STREQ(FormatMessage(copy, 0x0407).c_str(), "three\ntwo\none");
    }

    /// 1 with the causes 2 (because of 3) and 4 (because of 5 and of 6).
    Message MakeTree()
    {
        Message first = Make(3, "");
        first.WrapBy(MESSAGE_DOMAIN_SERVER, 2, "").WrapBy(MESSAGE_DOMAIN_SERVER, 1, "");
        Message second = Make(5, "");
        second.WrapBy(MESSAGE_DOMAIN_SERVER, 4, "");
        Message tree = Make(6, "");
        tree.PrependBy(second);
        tree.PrependBy(first);
        return tree;
    }

    /// The walk that merges texts: parents before children, followers in step with the leader.
    std::vector<int> Walk(MessageCursor leader, std::vector<ConstMessageCursor>& followers)
    {
        std::vector<int> ids;
        for (;;)
        {
            ids.push_back(leader.GetCurrentMessage().GetID());
            for (ConstMessageCursor const& follower : followers)
                ids.push_back(follower.GetCurrentMessage().GetID());
            if (leader.LowerLevelMessageIsUnvisited())
            {
                EXPECT_TRUE(leader.GoToLowerLevelMessage(false));
                for (ConstMessageCursor& follower : followers)
                    follower.GoToLowerLevelMessage(true);
                continue;
            }
            do
            {
                if (!leader.GoToParent())
                    return ids;
                for (ConstMessageCursor& follower : followers)
                    follower.GoToParent();
            } while (!leader.LowerLevelMessageIsUnvisited());
            EXPECT_TRUE(leader.GoToSameLevelMessage(false));
            for (ConstMessageCursor& follower : followers)
                follower.GoToSameLevelMessage(true);
        }
    }

    TEST(MessageCursorTest, EachLevelIsVisitedOnceAndFollowersStayInStep)
    {
        Message tree = MakeTree();
        Message const copy = tree;
        Message const bare = Make(9, "");
        std::vector<ConstMessageCursor> followers{ConstMessageCursor(copy), ConstMessageCursor(bare)};
        EXPECT_EQ(Walk(MessageCursor(tree), followers),
            (std::vector<int>{1, 1, 9, 2, 2, 0, 3, 3, 0, 4, 4, 0, 5, 5, 0, 6, 6, 0}));
    }

    TEST(MessageCursorTest, MovesOnlyWhereThereIsALevel)
    {
        Message message = MakeTree();
        ConstMessageCursor cursor(message);
        EXPECT_FALSE(cursor.GoToSameLevelMessage(false) || cursor.GoToParent());
        EXPECT_TRUE(cursor.GoToLowerLevelMessage(false) && cursor.GoToSameLevelMessage(false));
        EXPECT_FALSE(cursor.GoToSameLevelMessage(false));
        EXPECT_EQ(cursor.GetCurrentMessage().GetID(), 4);

        // What a following cursor writes where its tree has nothing reaches nobody else.
        for (int i = 0; i < 2; ++i)
        {
            MessageCursor lost(message);
            EXPECT_TRUE(lost.GoToLowerLevelMessage(true) && lost.GoToLowerLevelMessage(true));
            EXPECT_FALSE(lost.GoToLowerLevelMessage(true));
            EXPECT_EQ(TextOf(lost.GetCurrentMessage()), "");
            lost.GetCurrentMessage().SetMessage(u"written"_w);
            EXPECT_EQ(TextOf(MessageCursor(lost).GetCurrentMessage()), "written");
        }
    }
}
