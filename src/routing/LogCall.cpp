#include "routing/LogCall.h"

#include "routing/Router_Impl.h"
#include "support/resource/ThreadRings.h"

#include <QzResource/Localizer.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace QzLog
{
    namespace
    {
        /// A template knows "%1" to "%99".
        constexpr std::size_t kMostValues = 99;

        std::string NameOfID(unsigned int messageID)
        {
            char name[sizeof "Message 0xFFFFFFFF"];
            std::snprintf(name, sizeof name, "Message 0x%08X", messageID);
            return name;
        }
    }

    [[gnu::noinline]] TextCall::TextCall(Router& router, char const* templateText,
        QzResource::MessageFormatter& formatter, SourceLocation const& location)
        : mRouter(router), mLocation(location), mFormatter(&formatter)
    {
        ErrnoGuard const keepErrno;
        mpText = QzResource::FormatOnce(formatter, templateText);
    }

    [[gnu::noinline]] IDCall::IDCall(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
        char const* catalogContext, SourceLocation const& location)
        : mRouter(router),
          mLocation(location),
          mMessageID(messageID),
          mFormatter(&formatter),
          mCatalog(Router_Impl::BorrowMessageCatalog(router))
    {
        if (mCatalog)
        {
            mpText = formatter.Format(
                mCatalog->GetMessageTemplate(messageID, QzResource::GetProcessLanguageID(), catalogContext));
            return;
        }
        std::string text = NameOfID(messageID);
        for (std::size_t number = 1; number <= std::min(formatter.GetValueCount(), kMostValues); ++number)
            text += " %" + std::to_string(number);
        mpText = QzResource::FormatOnce(formatter, text.c_str());
    }

    [[gnu::noinline]] IDCall::IDCall(
        Router& router, unsigned int messageID, char const* catalogContext, SourceLocation const& location)
        : mRouter(router),
          mLocation(location),
          mMessageID(messageID),
          mCatalog(Router_Impl::BorrowMessageCatalog(router))
    {
        mString = mCatalog ? mCatalog->GetMessageString(messageID, QzResource::GetProcessLanguageID(), catalogContext)
                           : QzBase::ReturnString(NameOfID(messageID));
        mpText = mString.c_str();
    }

    [[gnu::noinline]] IDCall::~IDCall() = default;
}
