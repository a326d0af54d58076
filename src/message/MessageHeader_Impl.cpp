#include "message/MessageHeader_Impl.h"

#include "message/TimestampText.h"
#include "support/base/Ascii.h"
#include "support/base/KeptMemory.h"

#include <QzBase/Conversions.h>

#include <string_view>

namespace QzLog
{
    namespace
    {
        /// Most of what a message sets is what the message before has set.
        void Assign(std::string& field, char const* text)
        {
            std::string_view const value(text ? text : "");
            if (field == value)
                return;
            field.assign(value);
            QzBase::GiveBackSpareMemory(field);
        }

        char const* BuildDecimal(std::string& cache, unsigned int id)
        {
            if (cache.empty())
            {
                char digits[QzBase::kMaxDecimalDigits];
                cache.assign(digits, QzBase::WriteDecimal(digits, id));
            }
            return cache.c_str();
        }

        char const* BuildHex(std::string& cache, unsigned int id, int minimumDigits)
        {
            if (cache.empty())
            {
                char digits[8]; // of a 32-bit number
                cache.assign(digits, QzBase::WriteHex(digits, id, minimumDigits));
            }
            return cache.c_str();
        }
    }

    MessageHeader::~MessageHeader() = default;

    void MessageHeader_Impl::ClearRenderedForms() noexcept
    {
        QzBase::EmptyAndKeepMemory(mHeaderText);
        QzBase::EmptyAndKeepMemory(mHeaderJSON);
    }

    void MessageHeader_Impl::SetHostName(char const* name)
    {
        Assign(mHostName, name);
    }

    void MessageHeader_Impl::SetServerName(char const* name)
    {
        Assign(mServerName, name);
    }

    void MessageHeader_Impl::SetProcessID(unsigned int id)
    {
        if (id == mProcessID)
            return;
        mProcessID = id;
        QzBase::EmptyAndKeepMemory(mProcessIDText);
        mProcessIDHexText.clear();
        ClearRenderedForms();
    }

    char const* MessageHeader_Impl::GetProcessIDString()
    {
        return BuildDecimal(mProcessIDText, mProcessID);
    }

    void MessageHeader_Impl::SetProcessIDString(char const* text)
    {
        mProcessID = static_cast<unsigned int>(QzBase::DecimalToInt(text));
        Assign(mProcessIDText, text);
        mProcessIDHexText.clear();
    }

    char const* MessageHeader_Impl::GetProcessIDHexString()
    {
        return BuildHex(mProcessIDHexText, mProcessID, 1);
    }

    void MessageHeader_Impl::SetProcessIDHexString(char const* text)
    {
        SetProcessID(QzBase::HexToUnsignedInt(text, false));
    }

    void MessageHeader_Impl::SetThreadID(unsigned int id)
    {
        if (id == mThreadID)
            return;
        mThreadID = id;
        QzBase::EmptyAndKeepMemory(mThreadIDText);
        mThreadIDHexText.clear();
        ClearRenderedForms();
    }

    char const* MessageHeader_Impl::GetThreadIDString()
    {
        return BuildDecimal(mThreadIDText, mThreadID);
    }

    void MessageHeader_Impl::SetThreadIDString(char const* text)
    {
        mThreadID = static_cast<unsigned int>(QzBase::DecimalToInt(text));
        Assign(mThreadIDText, text);
        mThreadIDHexText.clear();
    }

    char const* MessageHeader_Impl::GetThreadIDHexString()
    {
        return BuildHex(mThreadIDHexText, mThreadID, 1);
    }

    void MessageHeader_Impl::SetThreadIDHexString(char const* text)
    {
        SetThreadID(QzBase::HexToUnsignedInt(text, false));
    }

    void MessageHeader_Impl::SetTimestamp(Timestamp const& timestamp)
    {
        mTimestamp = timestamp;
        QzBase::EmptyAndKeepMemory(mTimestampText);
        ClearRenderedForms();
    }

    void MessageHeader_Impl::SetTimestampToNow()
    {
        mTimestamp.SetToNowLocal();
        QzBase::EmptyAndKeepMemory(mTimestampText);
        ClearRenderedForms();
    }

    char const* MessageHeader_Impl::GetTimestampString()
    {
        if (mTimestampText.empty())
        {
            char text[QzDataType::kMaxDateTimeText];
            mTimestampText.assign(text, WriteTimestamp(text, mTimestamp));
        }
        return mTimestampText.c_str();
    }

    unsigned int MessageHeader_Impl::SetTimestampString(char const* text)
    {
        unsigned int const consumed = mTimestamp.FromISO8601String(text);
        if (consumed != 0)
            mTimestampText.assign(text, consumed);
        return consumed;
    }

    void MessageHeader_Impl::SetLoggerName(char const* name)
    {
        Assign(mLoggerName, name);
    }

    void MessageHeader_Impl::SetDispatcherName(char const* name)
    {
        Assign(mDispatcherName, name);
        mIsErrorDispatcher = mDispatcherName == std::string_view("Error");
    }

    void MessageHeader_Impl::SetMessageID(unsigned int id)
    {
        if (id == mMessageID)
            return;
        mMessageID = id;
        mMessageIDText.clear();
        ClearRenderedForms();
    }

    char const* MessageHeader_Impl::GetMessageIDString()
    {
        return BuildHex(mMessageIDText, mMessageID, 8);
    }

    void MessageHeader_Impl::SetMessageIDString(char const* text)
    {
        SetMessageID(QzBase::HexToUnsignedInt(text, false));
    }

    char const* MessageHeader_Impl::GetHeaderText()
    {
        if (mHeaderText.empty())
            BuildHeaderText();
        return mHeaderText.c_str();
    }

    char const* MessageHeader_Impl::GetHeaderJSON()
    {
        if (mHeaderJSON.empty())
            BuildHeaderJSON();
        return mHeaderJSON.c_str();
    }

    void MessageHeader_Impl::SetSourceFile(char const* fileName)
    {
        Assign(mSourceFile, fileName);
    }

    void MessageHeader_Impl::SetSourceFunction(char const* functionName)
    {
        Assign(mSourceFunction, functionName);
    }

    void MessageHeader_Impl::SetUserID(char const* id)
    {
        Assign(mUserID, id);
    }

    void MessageHeader_Impl::SetSessionID(char const* id)
    {
        Assign(mSessionID, id);
    }

    void MessageHeader_Impl::SetObjectID(char const* id)
    {
        Assign(mObjectID, id);
    }

    QzBase::ReturnPtrI<MessageHeader> CreateMessageHeader()
    {
        return QzBase::ReturnPtrI<MessageHeader>(new MessageHeader_Impl);
    }
}
