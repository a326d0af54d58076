#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReferenceCounted.h>
#include <QzLog/Timestamp.h>

namespace QzLog
{
    /// Everything about a message except its text: when and where it was logged, by whom, and under which IDs. It
    /// renders itself as one line of text and as a JSON object, and reads the line back.
    ///
    /// Texts are UTF-8 of any length, rendered as they were set; setting null sets the empty text. Returned texts
    /// belong to the header and are valid until what they show changes.
    ///
    /// Set the time first, then the rest, and read last. Text and JSON are cached, so that each is built once per
    /// message. SetTimestamp, SetTimestampToNow, ParseHeaderText and a changed process, thread or message ID drop the
    /// cache. So does an ID that is set from a text, but for SetProcessIDString and SetThreadIDString. All other
    /// setters leave a form that was already read unchanged.
    ///
    /// Used by one thread at a time, readers included. Operations throw std::bad_alloc and nothing else.
    class QZLOG_API MessageHeader : public virtual QzBase::ReferenceCounted
    {
    public:
        ~MessageHeader() override;

        /// The machine's name.
        virtual char const* GetHostName() = 0;
        virtual void SetHostName(char const* name) = 0;

        /// The server instance's name.
        virtual char const* GetServerName() = 0;
        virtual void SetServerName(char const* name) = 0;

        virtual unsigned int GetProcessID() = 0;
        virtual void SetProcessID(unsigned int id) = 0;
        /// Decimal, or the text as it was given.
        virtual char const* GetProcessIDString() = 0;
        /// Sets the ID to the number that the text begins with (QzBase::DecimalToInt), and keeps the text as given. A
        /// cached form is unchanged.
        virtual void SetProcessIDString(char const* text) = 0;
        /// Upper-case hexadecimal digits without prefix.
        virtual char const* GetProcessIDHexString() = 0;
        /// SetProcessID of the hexadecimal number that the text begins with, without prefix.
        virtual void SetProcessIDHexString(char const* text) = 0;

        // The same for the thread.
        virtual unsigned int GetThreadID() = 0;
        virtual void SetThreadID(unsigned int id) = 0;
        virtual char const* GetThreadIDString() = 0;
        virtual void SetThreadIDString(char const* text) = 0;
        virtual char const* GetThreadIDHexString() = 0;
        virtual void SetThreadIDHexString(char const* text) = 0;

        virtual Timestamp const& GetTimestamp() const = 0;
        /// Changes through this reference do not drop cached forms; SetTimestamp does.
        virtual Timestamp& GetTimestamp() = 0;
        virtual void SetTimestamp(Timestamp const& timestamp) = 0;
        /// The current local time with its offset from UTC.
        virtual void SetTimestampToNow() = 0;
        /// As Timestamp_Impl::ToISO8601String, or the text that SetTimestampString read.
        virtual char const* GetTimestampString() = 0;
        /// Reads the time stamp at the start of the text, and keeps the characters read as the time text. A cached
        /// form is unchanged. Returns the number of characters; 0 if there is no time stamp. The time text is then
        /// unchanged, but the time stamp itself may not be: see Timestamp_Impl::FromISO8601String.
        virtual unsigned int SetTimestampString(char const* text) = 0;

        virtual char const* GetLoggerName() = 0;
        virtual void SetLoggerName(char const* name) = 0;

        /// If the name is exactly "Error", the header text shows the source location.
        virtual char const* GetDispatcherName() = 0;
        virtual void SetDispatcherName(char const* name) = 0;

        /// 0 means that the message has no ID.
        virtual unsigned int GetMessageID() = 0;
        virtual void SetMessageID(unsigned int id) = 0;
        /// Eight upper-case hexadecimal digits.
        virtual char const* GetMessageIDString() = 0;
        /// SetMessageID of the hexadecimal number that the text begins with, without prefix.
        virtual void SetMessageIDString(char const* text) = 0;

        /// The header as one line without line end:
        ///
        ///     2026-11-18 03:02:07.123-05:00 [HOST:ws01][SERVER:Engine][PID:4242][THR:9876][Kernel][Error]
        ///     [0x0000002A][UID:alice][SID:0][OID:0][Writer.cpp:Flush at line:42]
        ///
        /// (the break is not part of it). The two brackets without a keyword are the logger's and the dispatcher's
        /// name. The message ID is left out if it is 0. "0" stands for an empty user, session or object ID. The source
        /// location is shown if the dispatcher is "Error" and both source file and function are set; the file is shown
        /// without its directories.
        virtual char const* GetHeaderText() = 0;

        /// The header as a JSON object on one line, followed by LF. Members, all of them texts: "time", "host",
        /// "server", "pid", "thr", "logger", "dispatcher"; "message_id" ("0x0000002A") if it is not 0; "uid",
        /// "sid", "oid" if they are not empty. Malformed UTF-8 becomes U+FFFD.
        virtual char const* GetHeaderJSON() = 0;

        /// Fills the header from a header text at the start of `text`. Fields that the text does not have become
        /// empty or 0. Message ID, user, session and object ID and source location may be absent; "0" in place of
        /// an ID is read as the text "0". A source location counts as absent if its file has more than 255 characters
        /// or contains ":", or if its function has more than 127 characters or contains a blank. A line number that
        /// does not fit `int` becomes the nearest `int`.
        /// \return  the number of characters read. 0 if the text is no header text, or null; the header is then
        ///          unchanged.
        ///          The source location ends with the first "]" after its start. If there is none, its values are
        ///          used, and the characters up to the end of the line number count as read.
        virtual unsigned int ParseHeaderText(char const* text) = 0;

        // The source location of the log call. The file is kept with its directories, as it was given.
        virtual void SetSourceFile(char const* fileName) = 0;
        virtual char const* GetSourceFile() = 0;
        virtual void SetSourceFunction(char const* functionName) = 0;
        virtual char const* GetSourceFunction() = 0;
        virtual void SetSourceLine(int lineNumber) = 0;
        virtual int GetSourceLine() = 0;

        // On whose behalf the message was logged.
        virtual void SetUserID(char const* id) = 0;
        virtual char const* GetUserID() = 0;
        virtual void SetSessionID(char const* id) = 0;
        virtual char const* GetSessionID() = 0;
        virtual void SetObjectID(char const* id) = 0;
        virtual char const* GetObjectID() = 0;
    };

    /// A new header: texts empty, numbers 0, the empty date and time at UTC.
    QZLOG_API QzBase::ReturnPtrI<MessageHeader> CreateMessageHeader();
}
