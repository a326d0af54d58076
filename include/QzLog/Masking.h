#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

// Masking of secrets in texts before they are logged. Nothing in the library masks by itself: the caller
// decides, for each text. All of it works without an Initializer, in static objects too, and may be called
// from any thread; it takes no lock. The cost grows with the length of the text, not with the number of values in it.
//
// Masking is a best effort and no parser. It is meant for texts that the program itself has made. Never rely on it for
// a text that a user controls: whoever writes the text can write it so that the secret remains.
//
// A text that breaks its form is no error: what was found up to there is masked and the rest stays as it
// is, so a value without its closing quote, which may be the secret itself, remains readable.
//
// All throw std::bad_alloc and nothing else.

namespace QzLog
{
    /// Replaces the values of one attribute of the form ` name="value"`, as in XML, and returns the masked
    /// copy, UTF-8. Bytes are compared, so case counts. Exactly one space stands directly before the name
    /// (neither the start of the text nor a line break will do) and nothing between the name and `="`. The
    /// next quote ends the value, also behind a backslash; the quotes stay, an empty value is replaced too.
    /// \param text  UTF-8, well-formed or not. Null counts as empty.
    /// \param name  the attribute name, UTF-8, not null.
    /// \param mask  what is put in place of each value; it is not searched itself. Null counts as empty.
    QZLOG_API QzBase::ReturnString ReplaceSensitiveMessage(char const* text, char const* name, char const* mask);

    /// The same for UTF-16 text, which is first converted to UTF-8 so that a lone surrogate remains what it was.
    QZLOG_API QzBase::ReturnString ReplaceSensitiveMessage(
        unsigned short const* text, char const* name, char const* mask);

    /// Replaces passwords in the JSON body of an HTTP request by "***" and returns the masked copy, UTF-8.
    /// A value is what stands between quotes behind the next colon behind the quoted tag
    /// QzResource::REST_TAG_PASSWORD. A quote directly behind a backslash does not end it, even if that
    /// backslash is escaped itself. What stands between tag, colon and value is not looked at: if the
    /// value is no string, the next quoted text is masked in its place. Bytes are compared, so case counts.
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
    /// There is no need to call it: masking does so when it finds the list empty. Repeating it changes nothing.
    QZLOG_API void InitHTTPSensitiveTagVector();
}
