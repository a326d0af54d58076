#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

// Masking of secrets in texts before they are logged. The library masks nothing by itself: the caller
// decides, for each text. The functions need no Initializer, work in static objects too, may be called from
// any thread and take no lock. Their cost grows with the length of the text, not with the number of values in it.
//
// Masking is a best effort and no parser. It is meant for texts that the program itself has made. Never rely on it for
// a text that a user controls: whoever writes the text can write it so that the secret remains.
//
// A malformed text is no error: the values up to the fault are masked and the rest is unchanged. So a value
// without its closing quote, which may be the secret itself, remains readable.
//
// All throw std::bad_alloc and nothing else.

namespace QzLog
{
    /// Replaces the values of one attribute of the form ` name="value"`, as in XML, and returns the masked
    /// copy, UTF-8. Bytes are compared, so case counts. A space must stand directly before the name (neither
    /// the start of the text nor a line break will do), and `="` directly after it. The next quote ends the
    /// value, even after a backslash. The quotes are kept. An empty value is replaced too.
    /// \param text  UTF-8, well-formed or not. Null counts as empty.
    /// \param name  the attribute name, UTF-8, not null.
    /// \param mask  replaces each value; it is not searched itself. Null counts as empty.
    QZLOG_API QzBase::ReturnString ReplaceSensitiveMessage(char const* text, char const* name, char const* mask);

    /// The same for UTF-16 text, which is first converted to UTF-8 so that a lone surrogate can be restored.
    QZLOG_API QzBase::ReturnString ReplaceSensitiveMessage(
        unsigned short const* text, char const* name, char const* mask);

    /// Replaces passwords in the JSON body of an HTTP request by "***" and returns the masked copy, UTF-8.
    /// After the quoted tag QzResource::REST_TAG_PASSWORD, the value is the next quoted text after the next
    /// colon. A quote directly after a backslash does not end it, even if that backslash is escaped itself.
    /// What stands between tag, colon and value is not checked: if the value is no string, the next quoted
    /// text is masked instead. Bytes are compared, so case counts.
    ///
    /// The secret remains readable in these texts, among others:
    ///
    ///     {"grant_type":"password","n":1,"password":"secret"}    the tag stands as a value; the next name is masked
    ///     {"password":{"value":"secret"}}                        an object, or a list of objects; its name is masked
    ///     {"password":1234}                                      a number
    ///     {"pass\u0077ord":"secret"}, {"Password":"secret"}      another spelling of the tag
    ///     {"password":"secret\\"}                                the last value ends in a backslash
    ///
    /// \param text  UTF-8, well-formed or not. Null counts as empty.
    QZLOG_API QzBase::ReturnString ReplaceSensitiveMessageInHTTP(char const* text);

    /// Puts QzResource::REST_TAG_PASSWORD into the list of tags that ReplaceSensitiveMessageInHTTP masks.
    /// You need not call it: masking does so if the list is empty. Repeated calls change nothing.
    QZLOG_API void InitHTTPSensitiveTagVector();
}
