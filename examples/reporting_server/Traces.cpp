#include "Traces.h"

#include "Messages.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Log.h>
#include <QzLog/MsgLogTrace.h>

namespace ReportingServer
{
    namespace
    {
        void PrintTo(QzLog::LogTrace& trace, std::filesystem::path const& file, Channel const& channel)
        {
            trace.SetFileName(QzBase::UTF8ToWideChar(file.c_str(), false).c_str());
            long const result = trace.PrintAllLogTrace();
            if (result == 0)
                return;
            char const* const reason =
                result == QzLog::kTraceFileNotOpened ? "it cannot be opened" : "it cannot be written to its end";
            QzLog::Log(*channel.mError, kTraceNotPrinted, file.string(), reason);
        }
    }

    Traces::Traces(std::filesystem::path const& folder, unsigned int periodSize)
        : mFolder(folder), mPeriodSize(periodSize)
    {
        std::filesystem::create_directories(mFolder);
        QzLog::MsgLogTrace::SetMsgLogTrace(true);
    }

    void Traces::Report(int command, std::int64_t microseconds)
    {
        mCommands.AddToLogTrace(QzBase::GetCurrentThreadID(), command, microseconds);
        if (++mRequests % mPeriodSize == 0)
            Collect();
    }

    void Traces::Print(Channel const& channel)
    {
        Collect();
        PrintTo(mCommands, mFolder / "commands.txt", channel);
        PrintTo(*QzLog::MsgLogTrace::getInstance(), mFolder / "messages.txt", channel);
    }

    void Traces::Collect()
    {
        mCommands.CollectLogTrace();
        QzLog::MsgLogTrace::getInstance()->CollectLogTrace();
    }
}
