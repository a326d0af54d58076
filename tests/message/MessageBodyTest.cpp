#include <QzLog/MessageBody.h>

#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

#include <string>

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
        Message message(kDomain, 1, "plain %1");
        message << "x";
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");

        // A text that is looked up again would now be another.
        RegisterMessageText(kGerman, kDomain, 1, "deutsch %1");
        RegisterMessageText(kFrench, kDomain, 1, "français %1");
        EXPECT_STREQ(body->GetMessageText(kFrench), "français x");
        body->GetMessage();
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "deutsch x");
    }

    TEST(MessageBody, MergesTheTextsOfEveryLevel)
    {
        // 10 with the causes 11 (because of 12) and 13 (because of 14 and of 15). 12 has no German text.
        Message message(kDomain, 15, "fifteen");
        message.PrependBy(Message(kDomain, 14, "fourteen").WrapBy(kDomain, 13, "thirteen"));
        message.PrependBy(Message(kDomain, 12, "twelve").WrapBy(kDomain, 11, "eleven").WrapBy(kDomain, 10, "ten"));
        std::string plain;
        for (char const* const text : {"ten", "eleven", "twelve", "thirteen", "fourteen", "fifteen"})
            plain.append(plain.empty() ? "" : "\r\n").append(text);
        for (int id = 10; id <= 15; ++id)
        {
            RegisterMessageText(kFrench, kDomain, id, ("fr" + std::to_string(id)).c_str());
            if (id != 12)
                RegisterMessageText(kGerman, kDomain, id, ("de" + std::to_string(id)).c_str());
        }
        constexpr char kGermanText[] = "de10\r\nde11\r\ntwelve\r\nde13\r\nde14\r\nde15";
        constexpr char kFrenchText[] = "fr10\r\nfr11\r\nfr12\r\nfr13\r\nfr14\r\nfr15";

        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        body->SetMessage(message);
        EXPECT_EQ(FormatMessage(body->GetMessage(), kGerman).c_str(), plain);
        EXPECT_STREQ(body->GetMessageText(kGerman), kGermanText);
        EXPECT_STREQ(body->GetMessageText(kFrench), kFrenchText);
        Message const merged = body->GetMessage();
        EXPECT_STREQ(FormatMessage(merged, kGerman).c_str(), kGermanText);
        EXPECT_STREQ(FormatMessage(merged, kFrench).c_str(), kFrenchText);

        // What the message has itself is not looked up.
        RegisterMessageText(kFrench, kDomain, 10, "other");
        body->SetMessage(merged);
        EXPECT_STREQ(body->GetMessageText(kFrench), kFrenchText);
    }
}
