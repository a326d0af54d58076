#pragma once

#include "os/Files.h"

#include <QzBase/Message.h>
#include <QzBase/WideString.h>

#include <string>

// The failures of the file layer. All of them are caught as QzBase::Message. System error numbers are read
// directly after the failed call and passed in here.

namespace QzFileSystem
{
    /// The ID of every message level that this layer puts above a system error.
    inline constexpr int kFailureID = 0x12345678;

    /// A level with a template and its arguments (wide text or numbers), above the system error that is the cause.
    template <class... Arguments>
    QzBase::Message MakeFailure(QzOs::Error error, int id, char const* text, Arguments const&... arguments)
    {
        QzBase::Message message(QzBase::MESSAGE_DOMAIN_WIN32_API, error, nullptr);
        message.WrapBy(QzBase::MESSAGE_DOMAIN_SERVER, id, text);
        (message << ... << arguments);
        return message;
    }

    template <class... Arguments>
    QzBase::Message MakeFailure(QzOs::Error error, char const* text, Arguments const&... arguments)
    {
        return MakeFailure(error, kFailureID, text, arguments...);
    }

    /// A failure without a system error, such as fewer bytes than were asked for.
    template <class... Arguments>
    QzBase::Message MakeShortFailure(char const* text, Arguments const&... arguments)
    {
        QzBase::Message message(QzBase::MESSAGE_DOMAIN_SERVER, kFailureID, text);
        (message << ... << arguments);
        return message;
    }

    inline constexpr char const* kAttributesFailureText = "Failed to get attributes of file '%1'.";

    inline QzBase::Message MakeAttributesFailure(QzOs::Error error, unsigned short const* path)
    {
        return MakeFailure(error, kAttributesFailureText, path);
    }

    inline QzBase::Message MakeSpecialFileFailure(unsigned short const* path)
    {
        return MakeShortFailure("'%1' is a pipe, a device or a socket.", path);
    }

    /// The text of a failed call, put together piece by piece.
    class CallText
    {
    public:
        CallText& operator<<(char const* utf8Text);
        CallText& operator<<(unsigned short const* text);
        CallText& operator<<(int number);

        /// The failure: this text, a line end and the system's text for the error, whose number is the ID.
        QzBase::ExceptionImpl<QzBase::Message> ToFailure(QzOs::Error error) const;

    private:
        QzBase::WideString mText;
    };

    template <class... Pieces>
    [[noreturn]] void ThrowCallFailure(QzOs::Error error, Pieces const&... pieces)
    {
        CallText text;
        (text << ... << pieces);
        throw text.ToFailure(error);
    }

    /// Puts the failure in front of what the caller's message holds. Null does nothing.
    void Report(QzBase::Message* err, QzBase::Message const& failure);
}
