#include <QzLog/ThreadSpecificLogInfo.h>

#include "message/MessageHeader_Impl.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "root/ThreadContext.h"

#include <QzBase/Conversions.h>

#include <new>

namespace QzLog
{
    namespace
    {
        void SetID(void (MessageHeader::*set)(char const*), unsigned short const* id)
        {
            RequiredModule const module;
            (module->GetThreadContext()->GetMessageHeader()->*set)(QzBase::WideCharToUTF8(id, false).c_str());
        }
    }

    void SetUserIDToThreadContext(unsigned short const* userID)
    {
        SetID(&MessageHeader::SetUserID, userID);
    }

    void SetSessionIDToThreadContext(unsigned short const* sessionID)
    {
        SetID(&MessageHeader::SetSessionID, sessionID);
    }

    void SetObjectIDToThreadContext(unsigned short const* objectID)
    {
        SetID(&MessageHeader::SetObjectID, objectID);
    }

    QzBase::ReturnWString GetObjectIDFromThreadContext()
    {
        RequiredModule const module;
        return QzBase::UTF8ToWideChar(module->GetThreadContext()->GetMessageHeader()->GetObjectID(), false);
    }

    void SetParentThreadIDToThreadContext(std::uint64_t threadID)
    {
        RequiredModule()->GetThreadContext()->SetParentThreadID(threadID);
    }

    std::shared_ptr<ThreadSpecificLogInfo> GetThreadSpecificLogInfo()
    {
        RequiredModule const module;
        auto info = std::make_shared<ThreadSpecificLogInfo>();
        ThreadContext& context = *module->GetThreadContext();
        MessageHeader& header = *context.GetMessageHeader();
        info->userID = header.GetUserID();
        info->sessionID = header.GetSessionID();
        info->objectID = header.GetObjectID();
        info->parentThreadID = context.GetParentThreadID();
        return info;
    }

    void SetThreadSpecificLogInfo(ThreadSpecificLogInfo const& info)
    {
        RequiredModule const module;
        ThreadContext& context = *module->GetThreadContext();
        MessageHeader& header = *context.GetMessageHeader();
        if (!info.userID.empty())
            header.SetUserID(info.userID.c_str());
        if (!info.sessionID.empty())
            header.SetSessionID(info.sessionID.c_str());
        if (!info.objectID.empty())
            header.SetObjectID(info.objectID.c_str());
        context.SetParentThreadID(info.parentThreadID);
    }

    void ClearThreadSpecificLogInfo()
    {
        RequiredModule const module;
        ThreadContext& context = *module->GetThreadContext();
        MessageHeader& header = *context.GetMessageHeader();
        header.SetUserID(nullptr);
        header.SetSessionID(nullptr);
        header.SetObjectID(nullptr);
        context.SetParentThreadID(0);
    }

    ThreadSpecificLogInfoSwitchGuard::ThreadSpecificLogInfoSwitchGuard(ThreadSpecificLogInfo* info)
    {
        if (info)
            SetThreadSpecificLogInfo(*info);
    }

    ThreadSpecificLogInfoSwitchGuard::~ThreadSpecificLogInfoSwitchGuard()
    {
        ModulePin const module;
        if (!module)
            return;
        try
        {
            ClearThreadSpecificLogInfo();
        }
        catch (std::bad_alloc const&)
        {
            // Only the first call of a thread allocates, so this thread has no identity to clear.
        }
    }
}
