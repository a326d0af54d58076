#include "module/ThreadContext_Impl.h"

#include "os/Fork.h"

#include <QzBase/System.h>

namespace QzLog
{
    ThreadContext_Impl::ThreadContext_Impl(char const* machineName, ServerInstanceName const& serverInstanceName)
        : mpHeader(new MessageHeader_Impl), mpBody(new MessageBody_Impl), mServerInstanceName(serverInstanceName)
    {
        mpHeader->SetHostName(machineName);
        SetProcessAndThread();
    }

    char const* ThreadContext_Impl::GetServerName()
    {
        mServerInstanceName.Refresh(mServerName);
        return mServerName.mText.c_str();
    }

    void ThreadContext_Impl::SetProcessAndThread()
    {
        mForkGeneration = QzOs::GetForkGeneration();
        mpHeader->SetProcessID(QzBase::GetCurrentProcessID());
        mpHeader->SetThreadID(static_cast<unsigned int>(QzBase::GetCurrentThreadID()));
    }
}
