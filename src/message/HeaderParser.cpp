#include "message/MessageHeader_Impl.h"

#include "message/HeaderScanner.h"

#include <utility>

// Reads a header text back.

namespace QzLog
{
    unsigned int MessageHeader_Impl::ParseHeaderText(char const* text)
    {
        // A failure on the way leaves this object as it was.
        MessageHeader_Impl parsed;
        unsigned int const timeLength = parsed.SetTimestampString(text);
        if (timeLength == 0)
            return 0;
        HeaderFields fields;
        std::size_t const length = ScanHeader(text + timeLength, fields);
        if (length == 0)
            return 0;

        parsed.mHostName.Assign(fields.mHost);
        parsed.mServerName.Assign(fields.mServer);
        parsed.SetProcessIDString(std::string(fields.mProcess).c_str());
        parsed.SetThreadIDString(std::string(fields.mThread).c_str());
        parsed.mLoggerName.Assign(fields.mLogger);
        parsed.SetDispatcherName(std::string(fields.mDispatcher).c_str());
        parsed.SetMessageIDString(std::string(fields.mMessageID).c_str());
        parsed.mUserID.Assign(fields.mUser);
        parsed.mSessionID.Assign(fields.mSession);
        parsed.mObjectID.Assign(fields.mObject);
        parsed.mSourceFile.Assign(fields.mSourceFile);
        parsed.mSourceFunction.Assign(fields.mSourceFunction);
        parsed.mSourceLine = fields.mSourceLine;

        std::swap(static_cast<MessageHeaderFields&>(*this), static_cast<MessageHeaderFields&>(parsed));
        return timeLength + static_cast<unsigned int>(length);
    }
}
