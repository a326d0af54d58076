#include "Engine.h"

#include "Kernel.h"
#include "Messages.h"

#include <QzLog/ScopeGuard.h>

#include <map>

namespace ReportingServer
{
    namespace
    {
        constexpr int kPatience = 500; // ms

        std::map<std::string, std::string> const gDatabases = {{"Sales", "SALESDB"}, {"Finance", "FINDB"},
            {"Stock", "STOCKDB"}, {"People", "HRDB"}, {"Archive", "ARCHIVEDB"}};
    }

    unsigned int Engine::RunReport(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        std::string const database = FindDatabase(request.mObject);
        LogID(*mChannel.mInfo, RS_HERE, kReportStarted, request.mObject, database);
        try
        {
            Fetch(database, request);
        }
        catch (QzBase::Message& cause)
        {
            WrapMessage(cause, kReportFailed) << request.mObject.c_str();
            throw;
        }
        LogID(*mChannel.mInfo, RS_HERE, kReportFinished, request.mObject, request.GetAttribute("rows"),
            request.GetAttribute("format"));
        return guard.SetReturnCode(kDone, __LINE__);
    }

    unsigned int Engine::Search(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace, __func__, __FILE__, __LINE__);
        std::string const text = request.GetAttribute("text");
        LogID(*mChannel.mInfo, RS_HERE, kSearchFinished, text, text.size() % 7);
        return guard.SetReturnCode(kDone, __LINE__);
    }

    std::string Engine::FindDatabase(std::string const& report)
    {
        auto const found = gDatabases.find(report.substr(0, report.find('/')));
        if (found != gDatabases.end())
            return found->second;

        QzResource::MessageFormatter& values = QzLog::GetMessageFormatter();
        values << report;
        QzLog::LogMessageAndThrowBaseException(*mChannel.mError, kReportUnknown, values, nullptr);
    }

    void Engine::Fetch(std::string const& database, Request const& request)
    {
        // Details for the developer need no translation: the text stands in the call.
        QzResource::MessageFormatter& values = QzLog::GetMessageFormatter();
        values << database << request.GetAttribute("rows") << QzLog::Format::WideHex << request.mNumber;
        QzLog::LogMessage(*mChannel.mTrace, "Query on %1 for at most %2 rows, cursor %3", values, nullptr, __FILE__,
            __func__, __LINE__);

        if (database == "ARCHIVEDB")
        {
            QzBase::ExceptionImpl<QzBase::Message> silence(MakeMessage(kDatabaseSilent));
            silence << database.c_str() << kPatience;
            throw silence;
        }
    }
}
