#include <QzLog/MessageBody.h>

#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

namespace
{
    using QzBase::Message;
    using QzResource::RegisterMessageText;

    constexpr unsigned short kDomain = 700;
    constexpr unsigned short kGerman = 0x0407;
    constexpr unsigned short kFrench = 0x040C;

    TEST(MessageBody, FormatsOncePerLanguageAndMessage)
    {
        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        Message message(kDomain, 7, "plain %1");
        message << "x";
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");

        // A text that is looked up again would now be another.
        RegisterMessageText(kGerman, kDomain, 7, "deutsch %1");
        RegisterMessageText(kFrench, kDomain, 7, "français %1");
        EXPECT_STREQ(body->GetMessageText(kFrench), "français x");
        body->GetMessage();
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "deutsch x");
        body->SetMessage(Message(kDomain, 8, "other"));
        EXPECT_STREQ(FormatMessage(body->GetMessage(), kGerman).c_str(), "other");
    }

    TEST(MessageBody, MergesTheTextsOfEveryLevel)
    {
        // 1 with the causes 2 (because of 3) and 4 (because of 5 and of 6). 3 has no German text.
        Message message(kDomain, 6, "6");
        message.PrependBy(Message(kDomain, 5, "5").WrapBy(kDomain, 4, "4"));
        message.PrependBy(Message(kDomain, 3, "3").WrapBy(kDomain, 2, "2").WrapBy(kDomain, 1, "1"));
        for (int id = 1; id <= 6; ++id)
            if (id != 3)
                RegisterMessageText(kGerman, kDomain, id, ("de" + std::to_string(id)).c_str());
        RegisterMessageText(kFrench, kDomain, 1, "fr1");
        constexpr char kGermanText[] = "de1\r\nde2\r\n3\r\nde4\r\nde5\r\nde6";
        constexpr char kFrenchText[] = "fr1\r\n2\r\n3\r\n4\r\n5\r\n6";

        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), kGermanText);
        body->GetMessageText(kFrench);
        Message const merged = body->GetMessage();
        EXPECT_STREQ(FormatMessage(merged, kGerman).c_str(), kGermanText);
        EXPECT_STREQ(FormatMessage(merged, kFrench).c_str(), kFrenchText);
    }
}
