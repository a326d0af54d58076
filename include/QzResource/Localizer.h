#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

namespace QzResource
{
    /// Finds message texts in the table that RegisterMessageText fills. Lives as long as the library is
    /// loaded. Language 0 is the process language at the time of the look-up.
    class QZLOG_API Localizer : public QzBase::Message::Localizer, public virtual QzBase::ReferenceCounted
    {
    public:
        ~Localizer() override;
    };

    /// The localizer of the process. May be called from any thread; the first call throws std::bad_alloc.
    QZLOG_API QzBase::ReturnPtrI<Localizer> GetLocalizer();

    /// Registers a message text for a language, a message domain and an ID, and replaces one registered
    /// earlier. The text is copied. Replaced texts stay readable as long as the library is loaded, and
    /// a text that was registered before takes no new memory. May be called at any time from any thread.
    /// Throws std::bad_alloc, and then changes nothing.
    /// \param languageID  0 registers for the present process language.
    /// \param utf8Text    the text with "%1" and so on for the message's arguments; null counts as empty.
    QZLOG_API void RegisterMessageText(unsigned short languageID, unsigned short domain, int id, char const* utf8Text);

    /// The process language: what language ID 0 stands for. 0x0409 (English, United States) until it is set.
    QZLOG_API unsigned short GetProcessLanguageID();

    /// Sets the process language. 0 is ignored.
    QZLOG_API void SetProcessLanguageID(unsigned short languageID);

    /// The tag whose string value is a password in the bodies of HTTP requests.
    QZLOG_API extern char const* const REST_TAG_PASSWORD;

    /// Sets up the message texts and the formatters. Any number may exist, copies included. Nothing stops
    /// working when the last one is destroyed, because objects with static lifetime may still log then.
    /// What cannot be set up here is set up at its first use, which throws if that fails too.
    class QZLOG_API Initializer
    {
    public:
        Initializer() noexcept;
        Initializer(Initializer const&) noexcept;
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer() = default;
    };
}
