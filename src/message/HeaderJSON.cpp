#include "message/MessageHeader_Impl.h"

#include "os/Unicode.h"

#include <QzBase/Conversions.h>

#include <json/value.h>
#include <json/writer.h>

#include <cstring>

// The header as a JSON object.

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kReservedLength = 256;

        /// The writer drops the byte after a malformed one, so malformed text is repaired first.
        Json::Value ToJSON(char const* text)
        {
            std::size_t const length = std::strlen(text);
            if (QzOs::MeasureASCII(text, length) == length)
                return Json::Value(text);
            QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text, true);
            return Json::Value(QzBase::WideCharToUTF8(wide.c_str(), true).c_str());
        }

        std::string Write(Json::Value const& value)
        {
            // Readers of the header know the form of this writer: one line that ends in LF.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
            Json::FastWriter writer;
#pragma GCC diagnostic pop
            return writer.write(value);
        }
    }

    void MessageHeader_Impl::BuildHeaderJSON()
    {
        Json::Value object(Json::nullValue);
        object["time"] = ToJSON(GetTimestampString());
        object["host"] = ToJSON(GetHostName());
        object["server"] = ToJSON(GetServerName());
        object["pid"] = ToJSON(GetProcessIDString());
        object["thr"] = ToJSON(GetThreadIDString());
        object["logger"] = ToJSON(GetLoggerName());
        object["dispatcher"] = ToJSON(GetDispatcherName());
        if (mMessageID != 0)
            object["message_id"] = Json::Value(std::string("0x") + GetMessageIDString());
        if (!mUserID.empty())
            object["uid"] = ToJSON(GetUserID());
        if (!mSessionID.empty())
            object["sid"] = ToJSON(GetSessionID());
        if (!mObjectID.empty())
            object["oid"] = ToJSON(GetObjectID());

        mHeaderJSON.reserve(kReservedLength);
        mHeaderJSON += Write(object);
    }
}
