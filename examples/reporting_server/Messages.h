#pragma once

#include <QzBase/Message.h>

#include <span>

// The server's messages: numbers, names and texts. They are used in two ways. A call with an ID takes the text from the
// logger's catalog (Catalog.h), in the process language. A structured QzBase::Message takes it from the texts
// registered with QzResource, in the language of each destination.

namespace ReportingServer
{
    inline constexpr unsigned short kEnglish = 0x0409;
    inline constexpr unsigned short kGerman = 0x0407;

    /// The domain of the server's IDs, so that they never meet those of another component in one process.
    inline constexpr unsigned short kMessageDomain = 100;

    /// The two top bits are the severity of a message, which the system log uses: 01 warning, 10 error.
    enum MessageID : unsigned int
    {
        kServerStarted = 0x00000101,
        kServerStopped = 0x00000102,
        kSettingsRead = 0x00000103,
        kSettingsRejected = 0x80000104,
        kTraceNotPrinted = 0x80000105,
        kSignedIn = 0x00000111,
        kSignedOut = 0x00000112,
        kPasswordChanged = 0x00000113,
        kStatusTold = 0x00000114,
        kReportStarted = 0x00000201,
        kReportFinished = 0x00000202,
        kReportUnknown = 0x80000203,
        kReportFailed = 0x80000204,
        kDatabaseSilent = 0x80000205,
        kSearchFinished = 0x00000206,
        kRequestReceived = 0x00000301,
        kRequestAnswered = 0x00000302,
        kRequestMalformed = 0x40000303,
        kRequestFailed = 0x80000304,
        kNotSignedIn = 0x40000305,
        kNotOffered = 0x40000306,
        kPasswordMissing = 0x40000307,
        kBodyReceived = 0x00000308,
        kPeerAlive = 0x00000309
    };

    /// One row of the table. Texts are UTF-8 templates.
    struct MessageText
    {
        MessageID mID;
        char const* mEnglish;
        char const* mGerman;
    };

    std::span<MessageText const> GetMessageTexts();

    /// The row of an ID, or null.
    MessageText const* FindMessageText(unsigned int id);

    /// Makes the texts known to QzResource, for the structured messages. Once, before the first of them.
    void RegisterMessageTexts();

    /// A structured message of the server's domain; its arguments follow with <<.
    QzBase::Message MakeMessage(MessageID id);

    /// Makes `message` the cause of another one, whose arguments follow with <<.
    QzBase::Message& WrapMessage(QzBase::Message& message, MessageID id);
}
