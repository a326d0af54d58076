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
        void Assign(std::string& cache, char const* text)
        {
            cache = text ? text : "";
            QzBase::GiveBackSpareMemory(cache);
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
        mHeaderText.Clear();
        if (!mHeaderJSON.empty())
            QzBase::EmptyAndKeepMemory(mHeaderJSON);
    }

    void MessageHeader_Impl::ClearOrigin() noexcept
    {
        QzBase::EmptyAndKeepMemory(mOriginText);
        mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetHostName(char const* name)
    {
        if (mHostName.Assign(name))
            ClearOrigin();
    }

    void MessageHeader_Impl::SetServerName(char const* name)
    {
        if (mServerName.Assign(name))
            ClearOrigin();
    }

    void MessageHeader_Impl::SetProcessID(unsigned int id)
    {
        if (id == mProcessID)
            return;
        mProcessID = id;
        QzBase::EmptyAndKeepMemory(mProcessIDText);
        mProcessIDHexText.clear();
        ClearOrigin();
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
        ClearOrigin();
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
        ClearOrigin();
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
        ClearOrigin();
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
        mTimestampText.Clear();
        ClearRenderedForms();
    }

    void MessageHeader_Impl::SetTimestampToNow()
    {
        mTimestamp.SetToNowLocal();
        mTimestampText.Clear();
        ClearRenderedForms();
    }

    char const* MessageHeader_Impl::GetTimestampString()
    {
        return mTimestampText.Get(mTimestamp).c_str();
    }

    unsigned int MessageHeader_Impl::SetTimestampString(char const* text)
    {
        unsigned int const consumed = mTimestamp.FromISO8601String(text);
        if (consumed != 0)
            mTimestampText.Assign(text, consumed);
        return consumed;
    }

    void MessageHeader_Impl::SetLoggerName(char const* name)
    {
        if (mLoggerName.Assign(name))
            mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetDispatcherName(char const* name)
    {
        if (!mDispatcherName.Assign(name))
            return;
        mIsErrorDispatcher = std::string_view(mDispatcherName) == "Error";
        mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetMessageID(unsigned int id)
    {
        if (id == mMessageID)
            return;
        mMessageID = id;
        mMessageIDText.clear();
        mHeaderText.ForgetRest();
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
        if (!mHeaderText.IsBuilt())
            BuildHeaderText();
        return mHeaderText.Get();
    }

    char const* MessageHeader_Impl::GetHeaderJSON()
    {
        if (mHeaderJSON.empty())
            BuildHeaderJSON();
        return mHeaderJSON.c_str();
    }

    void MessageHeader_Impl::SetSourceFile(char const* fileName)
    {
        if (mSourceFile.Assign(fileName) && mIsErrorDispatcher)
            mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetSourceFunction(char const* functionName)
    {
        if (mSourceFunction.Assign(functionName) && mIsErrorDispatcher)
            mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetSourceLine(int lineNumber)
    {
        if (lineNumber != mSourceLine && mIsErrorDispatcher)
            mHeaderText.ForgetRest();
        mSourceLine = lineNumber;
    }

    void MessageHeader_Impl::SetIdentity(HeaderField& field, char const* id)
    {
        if (field.Assign(id))
            mHeaderText.ForgetRest();
    }

    void MessageHeader_Impl::SetUserID(char const* id)
    {
        SetIdentity(mUserID, id);
    }

    void MessageHeader_Impl::SetSessionID(char const* id)
    {
        SetIdentity(mSessionID, id);
    }

    void MessageHeader_Impl::SetObjectID(char const* id)
    {
        SetIdentity(mObjectID, id);
    }

    /// The time is set first: that drops the texts which the header has cached.
    void MessageHeader_Impl::Stamp(char const* loggerName, char const* dispatcherName, SourceLocation const& location,
        unsigned int messageID, char const* serverName)
    {
        SetTimestampToNow();
        SetLoggerName(loggerName);
        SetDispatcherName(dispatcherName);
        SetSourceFile(location.mpFileName);
        SetSourceFunction(location.mpFunctionName);
        SetSourceLine(location.mLineNumber);
        SetMessageID(messageID);
        SetServerName(serverName);
    }

    QzBase::ReturnPtrI<MessageHeader> CreateMessageHeader()
    {
        return QzBase::ReturnPtrI<MessageHeader>(new MessageHeader_Impl);
    }
}
