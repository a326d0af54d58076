#pragma once

#include "routing/ErrnoGuard.h"
#include "routing/Loan.h"

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

    /// Holds the formatter of a log call, and frees a long text when the call is over. Null is allowed.
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

    // A log call with its finished text. The objects hold all that is passed to the router, and their functions are
    // not inlined. So a function of the front end keeps nothing in registers while the text is made, and need not
    // save registers before it has tested whether the router is enabled.

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
    /// "Message 0x%08X" with the ID, followed by the values.
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
        Loan<MessageCatalog> const mCatalog;
        QzBase::ReturnString mString;
        char const* mpText;
    };
}
