#include <QzLogKit/Destination_Capture.h>

#include "ForkSafeLock.h"
#include "MessageText.h"

#include <QzLog/Destination_Impl.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <ostream>
#include <utility>

namespace QzLogKit
{
    Destination_Capture::~Destination_Capture() = default;

    std::ostream& operator<<(std::ostream& stream, CapturedMessage const& message)
    {
        stream << message.mLogger << '/' << message.mDispatcher;
        if (message.mMessageID != 0)
            stream << ' ' << MessageIDText(message.mMessageID);
        for (auto const& [keyword, id] :
            {std::pair("UID:", &message.mUserID), {"SID:", &message.mSessionID}, {"OID:", &message.mObjectID}})
            if (!id->empty())
                stream << ' ' << keyword << *id;
        if (!message.mSourceFile.empty())
            stream << ' ' << SourcePlace(message.mSourceFile, static_cast<unsigned int>(message.mSourceLine));
        return stream << " \"" << message.mText << '"';
    }

    namespace
    {
        class Destination_Capture_Impl final : public QzSynch::Counted<Destination_Capture>,
                                               public QzLog::Destination_Impl
        {
        public:
            void WriteMessage(char const* text, QzLog::MessageHeader& header) override
            {
                CapturedMessage message{
                    .mText = text ? text : "",
                    .mLogger = header.GetLoggerName(),
                    .mDispatcher = header.GetDispatcherName(),
                    .mMessageID = header.GetMessageID(),
                    .mUserID = header.GetUserID(),
                    .mSessionID = header.GetSessionID(),
                    .mObjectID = header.GetObjectID(),
                    .mTime = std::as_const(header).GetTimestamp(),
                    .mHostName = header.GetHostName(),
                    .mServerName = header.GetServerName(),
                    .mProcessID = header.GetProcessID(),
                    .mThreadID = header.GetThreadID(),
                    .mSourceFile = header.GetSourceFile(),
                    .mSourceFunction = header.GetSourceFunction(),
                    .mSourceLine = header.GetSourceLine(),
                };
                ForkSafeLock::WriteHold const hold(mLock);
                mMessages.push_back(std::move(message));
            }

            void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
            {
                WriteMessage(body.GetMessageText(GetLanguageID()), header);
            }

            std::vector<CapturedMessage> Take() override
            {
                ForkSafeLock::WriteHold const hold(mLock);
                return std::exchange(mMessages, {});
            }

            std::vector<CapturedMessage> GetMessages() override
            {
                ForkSafeLock::ReadHold const hold(mLock);
                return mMessages;
            }

        private:
            ForkSafeLock mLock;
            std::vector<CapturedMessage> mMessages;
        };
    }

    QzBase::ReturnPtrI<Destination_Capture> CreateDestination_Capture()
    {
        return QzBase::ReturnPtrI<Destination_Capture>(new Destination_Capture_Impl);
    }
}
