#pragma once

#include <QzBase/Message.h>

#include <string>

namespace QzBase
{
    // FormatMessage for those who keep the text. `localizedCopy` is no part of `message`.

    std::string MakeMessageText(Message const& message, unsigned short languageID);
    std::string MakeMessageText(
        Message const& message, Message& localizedCopy, unsigned short languageID, Message::Localizer& localizer);
}
