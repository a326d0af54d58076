#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

namespace QzResource
{
    /// Finds message texts in the tables that RegisterMessageText fills.
    class QZLOG_API Localizer : public QzBase::Message::Localizer, public virtual QzBase::ReferenceCounted
    {
    public:
        ~Localizer() override;
    };

    /// The localizer of the process.
    QZLOG_API QzBase::ReturnPtrI<Localizer> GetLocalizer();

    /// Registers a message text for a language, a message domain and an ID, in place of one registered
    /// earlier. The text is copied; earlier texts stay readable for as long as the library is loaded.
    /// May be called at any time from any thread.
    /// \param languageID  0 registers for the process language of this moment.
    /// \param utf8Text    the text with "%1" and so on for the message's arguments; null counts as empty.
    QZLOG_API void RegisterMessageText(unsigned short languageID, unsigned short domain, int id, char const* utf8Text);

    /// The process language: what language ID 0 stands for. 0x0409 (English, United States) until it is set.
    QZLOG_API unsigned short GetProcessLanguageID();

    /// Sets the process language. 0 is ignored.
    QZLOG_API void SetProcessLanguageID(unsigned short languageID);

    /// The tag whose string value is a password in the bodies of HTTP requests.
    QZLOG_API extern char const* const REST_TAG_PASSWORD;

    /// Keeps the message texts usable. Copies count.
    class QZLOG_API Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) { return *this; }
        ~Initializer();
    };
}
