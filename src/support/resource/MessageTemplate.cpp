#include <QzResource/MessageFormatter.h>

#include "support/base/KeptMemory.h"

namespace QzResource
{
    MessageTemplate::MessageTemplate(char const* utf8Text) : mText(utf8Text ? utf8Text : "") {}

    void MessageTemplate::SetText(char const* utf8Text)
    {
        // The new text may be a piece of the old one, so memory is freed after the assignment.
        mText.assign(utf8Text ? utf8Text : "");
        QzBase::GiveBackSpareMemory(mText);
    }
}
