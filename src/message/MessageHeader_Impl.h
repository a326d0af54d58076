#pragma once

#include "message/HeaderField.h"
#include "message/HeaderLine.h"
#include "message/TimestampText.h"

#include <QzLog/MessageHeader.h>
#include <QzLog/SourceLocation.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <string>

namespace QzLog
{
    /// What a header holds. The texts marked as caches are empty when they have to be built, and keep their memory.
    struct MessageHeaderFields
    {
        HeaderField mHostName;
        HeaderField mServerName;
        unsigned int mProcessID = 0;
        std::string mProcessIDText;    // cache
        std::string mProcessIDHexText; // cache
        unsigned int mThreadID = 0;
        std::string mThreadIDText;    // cache
        std::string mThreadIDHexText; // cache
        Timestamp_Impl mTimestamp;
        TimestampText mTimestampText;
        HeaderField mLoggerName;
        HeaderField mDispatcherName;
        unsigned int mMessageID = 0;
        std::string mMessageIDText; // cache
        HeaderLine mHeaderText;
        std::string mOriginText; // cache of the part of the line from host to thread
        std::string mHeaderJSON; // cache
        HeaderField mSourceFile;
        HeaderField mSourceFunction;
        int mSourceLine = 0;
        HeaderField mUserID;
        HeaderField mSessionID;
        HeaderField mObjectID;
        /// True while the dispatcher's name is "Error".
        bool mIsErrorDispatcher = false;
    };

    /// The texts are read through the header's own getters. The class is final, so that costs no virtual call.
    class MessageHeader_Impl final : public QzSynch::Counted<MessageHeader>, private MessageHeaderFields
    {
    public:
        char const* GetHostName() override { return mHostName.c_str(); }
        void SetHostName(char const* name) override;
        char const* GetServerName() override { return mServerName.c_str(); }
        void SetServerName(char const* name) override;

        unsigned int GetProcessID() override { return mProcessID; }
        void SetProcessID(unsigned int id) override;
        char const* GetProcessIDString() override;
        void SetProcessIDString(char const* text) override;
        char const* GetProcessIDHexString() override;
        void SetProcessIDHexString(char const* text) override;

        unsigned int GetThreadID() override { return mThreadID; }
        void SetThreadID(unsigned int id) override;
        char const* GetThreadIDString() override;
        void SetThreadIDString(char const* text) override;
        char const* GetThreadIDHexString() override;
        void SetThreadIDHexString(char const* text) override;

        Timestamp const& GetTimestamp() const override { return mTimestamp; }
        Timestamp& GetTimestamp() override { return mTimestamp; }
        void SetTimestamp(Timestamp const& timestamp) override;
        void SetTimestampToNow() override;
        char const* GetTimestampString() override;
        unsigned int SetTimestampString(char const* text) override;

        char const* GetLoggerName() override { return mLoggerName.c_str(); }
        void SetLoggerName(char const* name) override;
        char const* GetDispatcherName() override { return mDispatcherName.c_str(); }
        void SetDispatcherName(char const* name) override;

        unsigned int GetMessageID() override { return mMessageID; }
        void SetMessageID(unsigned int id) override;
        char const* GetMessageIDString() override;
        void SetMessageIDString(char const* text) override;

        char const* GetHeaderText() override;
        char const* GetHeaderJSON() override;
        unsigned int ParseHeaderText(char const* text) override;

        void SetSourceFile(char const* fileName) override;
        char const* GetSourceFile() override { return mSourceFile.c_str(); }
        void SetSourceFunction(char const* functionName) override;
        char const* GetSourceFunction() override { return mSourceFunction.c_str(); }
        void SetSourceLine(int lineNumber) override;
        int GetSourceLine() override { return mSourceLine; }

        void SetUserID(char const* id) override;
        char const* GetUserID() override { return mUserID.c_str(); }
        void SetSessionID(char const* id) override;
        char const* GetSessionID() override { return mSessionID.c_str(); }
        void SetObjectID(char const* id) override;
        char const* GetObjectID() override { return mObjectID.c_str(); }

        /// Sets the present time and then, in the order of the arguments, what else changes from message to message.
        void Stamp(char const* loggerName, char const* dispatcherName, SourceLocation const& location,
            unsigned int messageID, char const* serverName);

    private:
        void ClearRenderedForms() noexcept;
        void ClearOrigin() noexcept;
        void SetIdentity(HeaderField& field, char const* id);
        std::string const& GetOriginText();
        void BuildHeaderText();
        void BuildHeaderJSON();
    };
}
