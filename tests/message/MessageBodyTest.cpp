#include <QzLog/MessageBody.h>

#include <QzBase/WideString.h>
#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

#include <string>

namespace
{
    using namespace QzBase::Literals;

    constexpr unsigned short kDomain = 700;
    constexpr unsigned short kGerman = 0x0407;
    constexpr unsigned short kFrench = 0x040C;

    /// The text of all levels out of what the message holds itself.
    std::string Describe(QzBase::Message const& message, unsigned short languageID)
    {
        return QzBase::FormatMessage(message, languageID).c_str();
    }

    TEST(MessageBody, FormatsOncePerLanguageAndMessage)
    {
        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        QzBase::Message message(kDomain, 1, "plain %1");
        message << u"x"_w;
        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");

        // A text that is looked up again would now be another.
        QzResource::RegisterMessageText(kGerman, kDomain, 1, "deutsch %1");
        QzResource::RegisterMessageText(kFrench, kDomain, 1, "français %1");
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");
        EXPECT_STREQ(body->GetMessageText(kFrench), "français x");
        body->GetMessage();
        EXPECT_STREQ(body->GetMessageText(kGerman), "plain x");

        body->SetMessage(message);
        EXPECT_STREQ(body->GetMessageText(kGerman), "deutsch x");
    }

    TEST(MessageBody, MergesTheTextsOfEveryLevel)
    {
        // top (10) above two causes (11 above 12, and 13), of which 12 has no German text.
        for (int const id : {10, 11, 13})
            QzResource::RegisterMessageText(kGerman, kDomain, id, ("de" + std::to_string(id)).c_str());
        for (int const id : {10, 11, 12, 13})
            QzResource::RegisterMessageText(kFrench, kDomain, id, ("fr" + std::to_string(id)).c_str());
        QzBase::Message message(kDomain, 13, "thirteen");
        QzBase::Message first(kDomain, 12, "twelve");
        first.WrapBy(kDomain, 11, "eleven").WrapBy(kDomain, 10, "ten");
        message.PrependBy(first);

        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        body->SetMessage(message);
        EXPECT_EQ(Describe(body->GetMessage(), kGerman), "ten\neleven\ntwelve\nthirteen");

        EXPECT_STREQ(body->GetMessageText(kGerman), "de10\nde11\ntwelve\nde13");
        body->GetMessageText(kFrench);
        QzBase::Message const merged = body->GetMessage();
        EXPECT_EQ(Describe(merged, kGerman), "de10\nde11\ntwelve\nde13");
        EXPECT_EQ(Describe(merged, kFrench), "fr10\nfr11\nfr12\nfr13");

        // What the message has itself is not looked up.
        QzResource::RegisterMessageText(kFrench, kDomain, 10, "other");
        body->SetMessage(merged);
        EXPECT_STREQ(body->GetMessageText(kFrench), "fr10\nfr11\nfr12\nfr13");
    }
}
