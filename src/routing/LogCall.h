#pragma once

#include "routing/ErrnoGuard.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/ReturnString.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/Router.h>
#include <QzLog/SourceLocation.h>
#include <QzResource/MessageFormatter.h>

namespace QzLog
{
    inline bool IsEnabled(Router const& router) noexcept
    {
        return router.mEnabled.load(std::memory_order_relaxed);
    }

    /// The formatter of a log call until the call is over: a long text does not stay with the thread. Null allowed.
    class FormatterOfCall
    {
    public:
        explicit FormatterOfCall(QzResource::MessageFormatter* formatter = nullptr) noexcept : mpFormatter(formatter) {}
        ~FormatterOfCall()
        {
            if (mpFormatter)
                mpFormatter->GiveBackLongText();
        }
        FormatterOfCall(FormatterOfCall const&) = delete;
        FormatterOfCall& operator=(FormatterOfCall const&) = delete;

    private:
        QzResource::MessageFormatter* const mpFormatter;
    };

    // A log call with its text made. Everything that goes to the router stands in here, and the functions are not
    // inlined, so that a function of the front end has nothing to keep in registers while the text is made, and so
    // nothing to save before it has seen whether the router is enabled at all.

    /// A template with the formatter's values.
    struct TextCall
    {
        TextCall(Router& router, char const* templateText, QzResource::MessageFormatter& formatter,
            SourceLocation const& location);

        Router& mRouter;
        SourceLocation mLocation;
        FormatterOfCall const mFormatter;
        char const* mpText;
    };

    /// A text of the logger's catalog, which is held until the call is over. Without a catalog the text is
    /// "Message 0x%08X" with the ID, and the values stand behind it.
    struct IDCall
    {
        /// A text with the formatter's values.
        IDCall(Router& router, unsigned int messageID, QzResource::MessageFormatter& formatter,
            char const* catalogContext, SourceLocation const& location);

        /// A text as it stands.
        IDCall(Router& router, unsigned int messageID, char const* catalogContext, SourceLocation const& location);

        ~IDCall();
        IDCall(IDCall const&) = delete;
        IDCall& operator=(IDCall const&) = delete;

        ErrnoGuard const mKeepErrno;
        Router& mRouter;
        SourceLocation mLocation;
        unsigned int mMessageID;
        FormatterOfCall const mFormatter;
        QzBase::ReturnPtrI<MessageCatalog> mpCatalog;
        QzBase::ReturnString mString;
        char const* mpText;
    };
}
